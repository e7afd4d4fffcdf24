// cPkcs12: the signer's credential, read from one PKCS#12 (PFX) file (RFC 7292), and the checks that it can be put
// through before it signs.
#ifndef ZEPASIGN_PKI_CPKCS12_H_
#define ZEPASIGN_PKI_CPKCS12_H_

#include <cstdint>
#include <set>
#include <string>

#include "pki/openssl.h"

namespace zepasign {

struct FilterSide;

// macIterations: how often a PFX has its password hashed for the check of its MAC. More than kMaxMacIterations, seconds
// of work, are refused: a damaged or hostile file may name two thousand million, an hour. What lies behind the MAC was
// made by somebody who knows the password.
inline constexpr std::int64_t kMaxMacIterations = 10'000'000;
[[nodiscard]] std::int64_t macIterations(const PKCS12* pfx);

class cPkcs12 {
 public:
  cPkcs12() = default;
  // ~cPkcs12: the certificates in the CA list outlive the list, on purpose: signatures may have handed them out.
  virtual ~cPkcs12() = default;
  cPkcs12(const cPkcs12&) = delete;
  cPkcs12& operator=(const cPkcs12&) = delete;

  // loadPfxFile: reads the file `fileName` in the folder `filePath`. All three texts are required. Returns 0, or 5005
  // (a text is missing), 1102 (file unreadable or no PKCS#12), 5208 (wrong password, damaged, or without key or
  // certificate); after a failure no key and no certificate is held. A second load drops what the first one loaded
  // without freeing it, since a signature may still refer to it.
  [[nodiscard]] int loadPfxFile(const char* filePath, const char* fileName, const char* pfxPasswd);

  // privateKey, certificate: borrowed; null until a load succeeded.
  [[nodiscard]] EVP_PKEY* privateKey() const noexcept { return privateKey_.get(); }
  [[nodiscard]] X509* certificate() const noexcept { return certificate_.get(); }
  // caCerts: borrowed, in the order in which PKCS12_parse gives them; null when the file has none.
  [[nodiscard]] STACK_OF(X509) * caCerts() const noexcept { return caCerts_.get(); }

  // checkCertValid: 0, or 5010 (no certificate), 5011 (expired), 5012 (not yet valid). Both bounds are inclusive. The
  // machine's local time is compared with the certificate's UTC+8 dates, on purpose.
  [[nodiscard]] int checkCertValid() const;

  // checkKeyUsageForSign: 0 when digitalSignature or nonRepudiation is set, else 5017; 5010 without a certificate.
  [[nodiscard]] int checkKeyUsageForSign() const;

  // checkSignerFilter: 0 when the filter is null, empty or satisfied, else 5010. Alternatives stand between "//" marks:
  //   //S_CN=Chen,S_O=ACME//I_CN=Root CA//     (a subject of ACME whose name has "Chen" in it) or (issued by Root CA)
  [[nodiscard]] int checkSignerFilter(const char* signerFilter) const;

 private:
  using Names = std::set<std::string>;
  enum class Outcome { kOpened, kWrongPassword, kFailed };

  [[nodiscard]] int loadContainer(const char* filePath, const char* fileName, const char* pfxPasswd);
  [[nodiscard]] int readContainer(const std::string& path);
  [[nodiscard]] int openContainer(const char* pfxPasswd);
  [[nodiscard]] Outcome unpack(const char* pfxPasswd, OwnErrors& errors);
  [[nodiscard]] int compareWithNow() const;

  [[nodiscard]] bool anyAlternativeHolds(const char* signerFilter) const;
  static bool checkFilterByCertSubject(const std::string& filter, const std::string& subject);
  static bool checkFilterByCertIssuer(const std::string& filter, const std::string& issuer);
  static bool checkFilter(const FilterSide& side, const std::string& filter, const std::string& name);
  static std::string parseFilterName(const std::string& filter, const std::string& key);
  static Names parseFilterNames(const std::string& filter, const std::string& key);
  static std::string parseCertDistingName(const std::string& name, const std::string& key);
  static Names parseCertDistingNames(const std::string& name, const std::string& key);

  Pkcs12Ptr pkcs12_;
  EvpPkeyPtr privateKey_;
  X509Ptr certificate_;
  X509StackPtr caCerts_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CPKCS12_H_
