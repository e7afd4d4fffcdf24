// A CRL file.
#include "fuzz/fuzz_support.h"
#include "pki/ccrlfileentry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const zepasign::demo::TempDirectory directory;
  directory.write("fuzz.crl", zepasign::fuzz::textOf(data, size));
  const zepasign::CryptoScope scope;
  zepasign::cCrlFileEntry entry("crlFile0", directory.path(), "fuzz.crl");
  const bool loaded = entry.loadCrl();
  zepasign::fuzz::require(loaded || !entry.isExpired());
  return 0;
}
