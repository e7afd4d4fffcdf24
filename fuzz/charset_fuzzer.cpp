// Text conversion: the first byte picks the target, the rest is the text.
#include <cstring>

#include "base/charset.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr const char* kTargets[] = {"BIG5", "UTF-16LE", "UTF-8", "no such encoding"};
  if (size < 1) return 0;
  const std::string text = zepasign::fuzz::textOf(data + 1, size - 1);
  zepasign::cBytes bytes;
  const bool converted = zepasign::convertUniCodeStringToAny(text.c_str(), kTargets[data[0] % 4], &bytes);
  zepasign::fuzz::require(converted == (bytes.length() > 0));
  if (!converted || data[0] % 4 != 0) return 0;
  zepasign::fuzz::require(std::memcmp(bytes.data(), text.c_str(), static_cast<std::size_t>(bytes.length())) == 0);
  return 0;
}
