// Every field of a certificate.
#include "fuzz/fuzz_support.h"
#include "pki/cx509.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zepasign::CryptoScope scope;
  const zepasign::X509Ptr x509(d2i_X509(nullptr, &data, static_cast<long>(size)));
  if (!x509) return 0;
  const zepasign::cX509 certificate(x509.get());
  unsigned usage = 0;
  certificate.getKeyUsage(usage);
  zepasign::fuzz::require(certificate.getFingerprint().size() == 40);
  zepasign::fuzz::require(certificate.getSubjectOneLine().size() < 512 && certificate.getIssuerOneLine().size() < 512);
  static_cast<void>(certificate.isSelfIssued());
  static_cast<void>(certificate.getSubjectCN() + certificate.getIssuerCN() + certificate.getSerial());
  static_cast<void>(certificate.getSubjectKeyId() + certificate.getAuthorityKeyId());
  static_cast<void>(certificate.getNotBefore() + certificate.getNotAfter());
  static_cast<void>(certificate.getCrlDistPoints());
  return 0;
}
