// A PFX file: loading it leaves a key and a certificate, or neither.
#include "base/errors.h"
#include "fuzz/fuzz_support.h"
#include "pki/cpkcs12.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const zepasign::testing::TempFolder folder;
  folder.write("fuzz.pfx", zepasign::fuzz::textOf(data, size));
  const zepasign::CryptoScope scope;
  zepasign::cPkcs12 credential;
  const int code = credential.loadPfxFile(folder.path().c_str(), "fuzz.pfx", "pfx-password");
  const bool complete = credential.privateKey() != nullptr && credential.certificate() != nullptr;
  const bool none = credential.privateKey() == nullptr && credential.certificate() == nullptr;
  zepasign::fuzz::require(code == zepasign::kSuccess ? complete : none);
  STACK_OF(X509)* caCerts = credential.caCerts();
  for (int i = sk_X509_num(caCerts) - 1; i >= 0; --i) X509_free(sk_X509_value(caCerts, i));  // the list alone is owned
  return 0;
}
