// cCertChainEntry: one CA chain, made of the certificates of one P7B file. On construction it verifies itself and loads
// its CRLs; isValid tells how that went.
//
// Its roots and CAs are verified against a store that trusts every certificate of the same file. So a valid chain is
// complete and not expired; it need not be genuine. Certificates are of three kinds, decided in this order:
//
//   root        issuer and subject are the same text
//   CA          the key usage has keyCertSign or cRLSign (RFC 5280, section 4.2.1.3)
//   end entity  any other, also one without key usage; it is listed in the log but not verified
//
// Thread rule: one thread at a time; a CryptoScope must be open.
#ifndef ZEPASIGN_PKI_CCERTCHAINENTRY_H_
#define ZEPASIGN_PKI_CCERTCHAINENTRY_H_

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "pki/ccrllist.h"
#include "pki/cx509.h"
#include "pki/openssl.h"

namespace zepasign {

class cProperty;

class cCertChainEntry {
 public:
  enum class Kind { kRoot, kCa, kEndEntity };

  // Member: what selfVerify found out about one certificate of the file. `code` is the crypto library's verification
  // error, X509_V_OK for one that verified and for an end entity.
  struct Member {
    X509* certificate;  // borrowed from the chain
    Kind kind;
    int code;
  };

  // cCertChainEntry: `title` (P7B0 to P7B9) begins the chain's CRL keys. The PKCS#7 is copied. Throws std::bad_alloc.
  // REQUIRES: `pkcs7` is signed data.
  cCertChainEntry(std::string title, const PKCS7* pkcs7, const cProperty* property);
  virtual ~cCertChainEntry() = default;
  cCertChainEntry(const cCertChainEntry&) = delete;
  cCertChainEntry& operator=(const cCertChainEntry&) = delete;

  // isValid: whether the chain verified itself and its CRL settings were read.
  [[nodiscard]] bool isValid() const noexcept { return valid_; }
  // hasRoot: whether a certificate of the file is a root, verified or not.
  [[nodiscard]] bool hasRoot() const noexcept;
  // members: every certificate in file order. crls: those that the property file names; null before it was read. Both
  // are for the configuration check; the library itself only calls isValid and findAuthority.
  [[nodiscard]] const std::vector<Member>& members() const noexcept { return members_; }
  [[nodiscard]] const cCrlList* crls() const noexcept { return crlList_.get(); }

  // Authority: a verified root or CA, and the fields by which the path is built, kept since every signature asks.
  struct Authority {
    std::unique_ptr<cX509> certificate;
    std::string subject;         // one line
    std::string authorityKeyId;  // hexadecimal; the key by which its issuer is found, empty when it names none
    bool isRoot;                 // the path ends here
  };

  // findAuthority: the verified root or CA with that subject key identifier (hexadecimal, upper case), borrowed; null
  // when the chain has none. Of several with one identifier it is the first of the file.
  [[nodiscard]] const Authority* findAuthority(const std::string& ski) const;

  // selfVerify: whether there is a root and every root and CA verifies against the file's own certificates now. Throws
  // std::bad_alloc, also for a chain that an allocation failure seems to have made invalid.
  [[nodiscard]] bool selfVerify();
  // loadCrlList: loads the CRL files that the property file names; false only without a property file.
  [[nodiscard]] bool loadCrlList(const cProperty* property);
  // verifyCert: the crypto library's verification error code of a certificate against this chain, 0 (X509_V_OK) when it
  // verifies; X509_V_ERR_UNSPECIFIED when it is of another chain or nothing could be verified.
  [[nodiscard]] int verifyCert(X509* certificate) const;

 private:
  // certificates: all of the file, borrowed from pkcs7_.
  [[nodiscard]] STACK_OF(X509) * certificates() const noexcept;
  // newStore: makes store_ and trusted_. Throws std::bad_alloc.
  void newStore();
  // verifyAll: fills members_ and authorities_; true when the file has a root and every root and CA verified. The last
  // end entity is verified for the log only.
  [[nodiscard]] bool verifyAll();
  // examine: determines the kind of one certificate, verifies it unless it is an end entity, and adds it to members_.
  void examine(X509* x509);
  // verifyAuthority: the verification error of a root or CA; one that verified is stored for findAuthority under its
  // subject key identifier, if it has one. Throws std::bad_alloc.
  [[nodiscard]] int verifyAuthority(std::unique_ptr<cX509> certificate);
  [[nodiscard]] bool mayBeValid() const;
  [[nodiscard]] bool freshCopyVerifies() const;
  // isIssuerKnown: whether the issuer name is the subject name of a verified root or CA; the one-line texts are
  // compared.
  [[nodiscard]] bool isIssuerKnown(const cX509& certificate) const;
  [[nodiscard]] static Kind kindOf(const cX509& certificate);
  static void logCertificate(const cX509& certificate, Kind kind);

  bool valid_ = false;
  std::string title_;
  Pkcs7Ptr pkcs7_;
  X509StorePtr store_;
  X509StackPtr trusted_;  // of pkcs7_, all its certificates
  std::vector<Member> members_;
  std::set<std::string> subjects_;
  std::map<std::string, Authority> authorities_;
  std::unique_ptr<cCrlList> crlList_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCERTCHAINENTRY_H_
