// cPkcs12: the signer's credential, read from one PKCS#12 (PFX) file (RFC 7292), and the checks that it can be put
// through before it signs.
//
// A PFX is a container that is encrypted and secured by a MAC, both with keys derived from the password. It holds the
// private key, its certificate and, often, certificates of CAs. Files with RC2-40 or triple DES, as older software
// writes them, load as well.
//
// Thread rule: one thread at a time, inside a CryptoScope.
#ifndef ZEPASIGN_PKI_CPKCS12_H_
#define ZEPASIGN_PKI_CPKCS12_H_

#include <cstdint>
#include <string>
#include <vector>

#include "pki/openssl.h"

namespace zepasign {

// macIterations: how often the password is hashed to check the MAC of a PFX (RFC 7292, appendix B). A file with more
// than kMaxMacIterations is refused: checking ten million takes seconds, and a hostile file can claim 2^31, an hour of
// CPU time. The counts inside the encrypted part are not limited: only someone who knows the password can set them.
inline constexpr std::int64_t kMaxMacIterations = 10'000'000;
[[nodiscard]] std::int64_t macIterations(const PKCS12* pfx);

class cPkcs12 {
 public:
  cPkcs12() = default;
  virtual ~cPkcs12() = default;
  cPkcs12(const cPkcs12&) = delete;
  cPkcs12& operator=(const cPkcs12&) = delete;

  // pathOf: the path that loadPfxFile opens; both texts are joined by "/" on every system.
  [[nodiscard]] static std::string pathOf(const std::string& filePath, const std::string& fileName) {
    return filePath + '/' + fileName;
  }

  // loadPfxFile: reads the file `fileName` in the directory `filePath`. All three texts are required. Returns 0, or
  // 5005 (a text is missing), 1102 (file unreadable or no PKCS#12), 5208 (wrong password, damaged, or without key or
  // certificate); after a failure no key and no certificate is held. Throws std::bad_alloc. What an earlier load gave
  // is kept until this object goes, since a signature may still refer to it.
  [[nodiscard]] int loadPfxFile(const char* filePath, const char* fileName, const char* pfxPasswd);

  // privateKey, certificate: borrowed; null until a load succeeded.
  [[nodiscard]] EVP_PKEY* privateKey() const noexcept { return content_.privateKey.get(); }
  [[nodiscard]] X509* certificate() const noexcept { return content_.certificate.get(); }
  // caCerts: borrowed, in the order in which PKCS12_parse gives them; null when the file has none.
  [[nodiscard]] STACK_OF(X509) * caCerts() const noexcept { return content_.caCerts.get(); }

  // checkCertValid: 0, or 5010 (no certificate), 5011 (expired), 5012 (not yet valid). Both bounds are inclusive. The
  // machine's local time is compared with the certificate's UTC+8 dates; callers in Taiwan depend on that.
  [[nodiscard]] int checkCertValid() const;

  // checkKeyUsageForSign: 0 when digitalSignature or nonRepudiation is set, else 5017; 5010 without a certificate.
  [[nodiscard]] int checkKeyUsageForSign() const;

  // checkSignerFilter: 0 when the filter is null, empty or satisfied, else 5010. Alternatives are enclosed in "//":
  //   //S_CN=Chen,S_O=ACME//I_CN=Root CA//     (a subject of ACME whose name contains "Chen") or (issued by Root CA)
  // The grammar is at the top of signerfilter.cpp.
  [[nodiscard]] int checkSignerFilter(const char* signerFilter) const;

 private:
  struct Content {
    EvpPkeyPtr privateKey;
    X509Ptr certificate;
    X509OwnerStackPtr caCerts;
  };

  [[nodiscard]] int load(const char* filePath, const char* fileName, const char* pfxPasswd);
  [[nodiscard]] int openContainer(const char* pfxPasswd);
  [[nodiscard]] bool unpack(const char* pfxPasswd);
  [[nodiscard]] int compareWithNow() const;

  Pkcs12Ptr pkcs12_;
  Content content_;
  std::vector<Content> earlier_;  // of earlier loads
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CPKCS12_H_
