// Base64 between marker lines: the input is cut into the pieces of an armoured text, so that most inputs reach the
// body.
#include <fuzzer/FuzzedDataProvider.h>

#include "base/cbytes.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  std::string text;
  while (input.remaining_bytes() > 0) {
    text += std::string(input.ConsumeIntegralInRange<std::size_t>(0, 7), '-');
    text += input.ConsumeRandomLengthString(64);
  }
  zepasign::cBytes bytes;
  zepasign::fuzz::require(bytes.base64Decode(text.c_str()) == (bytes.length() > 0));
  return 0;
}
