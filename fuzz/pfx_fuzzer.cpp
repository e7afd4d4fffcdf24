// A PFX file, as it is and once more under a MAC that fits, as one who knows the password would make it: loading it
// leaves a key and a certificate, which then go through the checks of a signer and sign, or neither.
#include "base/errors.h"
#include "demo/handles.h"
#include "fuzz/fuzz_support.h"
#include "pki/cpkcs12.h"
#include "pki/csigneddata.h"

namespace {

constexpr const char* kPassword = "pfx-password";

// sign: what comes out, with a key or certificate that need not fit, decodes again.
void sign(const zepasign::cPkcs12& credential) {
  zepasign::cSignedData signedData;
  const std::vector<X509*> certificates = {credential.certificate()};
  if (!signedData.prepare({EVP_sha256(), credential.certificate(), credential.privateKey(), certificates, true, true}))
    return;
  const unsigned char content[] = {1, 2, 3};
  if (!signedData.sign(content)) return;
  std::string der;
  for (const zepasign::cSignedData::Bytes piece : signedData.pieces()) der.append(piece.begin(), piece.end());
  const zepasign::Pkcs7Ptr decoded(zepasign::demo::decode<d2i_PKCS7>(der));
}

void load(const std::string& pfx) {
  static const zepasign::demo::TempDirectory directory;
  directory.write("fuzz.pfx", pfx);
  const zepasign::CryptoScope scope;
  zepasign::cPkcs12 credential;
  const int code = credential.loadPfxFile(directory.path().c_str(), "fuzz.pfx", kPassword);
  const bool complete = credential.privateKey() != nullptr && credential.certificate() != nullptr;
  const bool none = credential.privateKey() == nullptr && credential.certificate() == nullptr;
  zepasign::fuzz::require(code == zepasign::kSuccess ? complete : none);
  if (complete) {
    static_cast<void>(credential.checkCertValid());
    static_cast<void>(credential.checkKeyUsageForSign());
    static_cast<void>(credential.checkSignerFilter("//S_CN=Test Signer,I_O=Zepa Test//"));
    sign(credential);
  }
  STACK_OF(X509)* caCerts = credential.caCerts();
  for (int i = sk_X509_num(caCerts) - 1; i >= 0; --i) X509_free(sk_X509_value(caCerts, i));  // the list alone is owned
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  load(zepasign::fuzz::textOf(data, size));
  const zepasign::ErrorScope errors;
  const zepasign::Pkcs12Ptr pfx(d2i_PKCS12(nullptr, &data, static_cast<long>(size)));
  if (pfx && PKCS12_set_mac(pfx.get(), kPassword, -1, nullptr, 0, 1, EVP_sha256()) == 1) {
    load(zepasign::demo::encode<i2d_PKCS12>(pfx.get()));
  }
  return 0;
}
