// Base64 and hexadecimal: what is encoded comes back, and no text breaks the decoders. The text is the input as it is,
// then its pieces behind PEM boundaries (RFC 7468), so that many inputs reach what is between them.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>

#include "base/cbytes.h"
#include "base/cchars.h"
#include "fuzz/fuzz_support.h"

namespace {

std::string withBoundaries(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  std::string text;
  while (input.remaining_bytes() > 0) {
    text += std::string(input.ConsumeIntegralInRange<std::size_t>(0, 7), '-');
    text += input.ConsumeRandomLengthString(64);
  }
  return text;
}

}  // namespace

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
  for (const std::string& each : {any, withBoundaries(data, size)}) {
    require(bytes.base64Decode(each.c_str()) == (bytes.length() > 0));
  }
  return 0;
}
