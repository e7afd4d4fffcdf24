// The signer filter against a certificate with several entries of a kind.
#include "base/errors.h"
#include "fuzz/fuzz_support.h"
#include "pki/cpkcs12.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static zepasign::cPkcs12 credential;
  static const int loaded =
      credential.loadPfxFile(zepasign::fuzz::stage().folder.path().c_str(), "signer.pfx", "pfx-password");
  zepasign::fuzz::require(loaded == zepasign::kSuccess);
  const std::string filter = zepasign::fuzz::textOf(data, size);
  const int code = credential.checkSignerFilter(filter.c_str());
  zepasign::fuzz::require(code == zepasign::kSuccess || code == zepasign::kCertificateNotFound);
  return 0;
}
