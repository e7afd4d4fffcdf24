// Base64 and hexadecimal: what is encoded comes back, and no text breaks the decoders.
#include <cstring>

#include "base/cbytes.h"
#include "base/cchars.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using zepasign::fuzz::require;
  const int length = static_cast<int>(size);
  zepasign::cChars text;
  zepasign::cBytes bytes;
  if (text.base64Encode(data, length)) {
    require(bytes.base64Decode(text.data()) && bytes.length() == length && std::memcmp(bytes.data(), data, size) == 0);
  }
  if (text.setHex(data, length)) {
    require(bytes.setFromHex(text.data()) && bytes.length() == length && std::memcmp(bytes.data(), data, size) == 0);
  }
  const std::string any = zepasign::fuzz::textOf(data, size);
  static_cast<void>(bytes.setFromHex(any.c_str()));
  static_cast<void>(bytes.base64Decode(any.c_str()));
  return 0;
}
