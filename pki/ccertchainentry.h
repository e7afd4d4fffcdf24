// cCertChainEntry: one CA chain, made of the certificates of one P7B file. On construction it verifies itself and loads
// its CRLs; isSound tells how that went.
#ifndef ZEPASIGN_PKI_CCERTCHAINENTRY_H_
#define ZEPASIGN_PKI_CCERTCHAINENTRY_H_

#include <map>
#include <memory>
#include <set>
#include <string>

#include "pki/ccrllist.h"
#include "pki/cx509.h"
#include "pki/openssl.h"

namespace zepasign {

class cProperty;

class cCertChainEntry {
 public:
  // cCertChainEntry: `title` (P7B0 to P7B9) begins the chain's CRL keys, `ski` is the configured key identifier. The
  // PKCS#7, which must be signed data, is copied. Throws std::bad_alloc.
  cCertChainEntry(std::string title, std::string ski, const PKCS7* pkcs7, const cProperty* property);
  virtual ~cCertChainEntry() = default;
  cCertChainEntry(const cCertChainEntry&) = delete;
  cCertChainEntry& operator=(const cCertChainEntry&) = delete;

  // isSound: whether the chain verified itself and its CRL settings were read.
  [[nodiscard]] bool isSound() const noexcept { return sound_; }

  // Authority: a verified root or CA and the fields by which a chain is climbed, since signing asks for them each time.
  struct Authority {
    std::unique_ptr<cX509> certificate;
    std::string subject;
    std::string authorityKeyId;
    bool isRoot;
  };

  // findAuthority: the root or CA with that subject key identifier, borrowed; null when the chain has none.
  [[nodiscard]] const Authority* findAuthority(const std::string& ski) const;

  // selfVerify: whether there is a root and every root and CA verifies against the file's own certificates now.
  [[nodiscard]] bool selfVerify();
  // loadCrlList: loads the CRL files that the property file names; false only without a property file.
  [[nodiscard]] bool loadCrlList(const cProperty* property);
  // verifyCert: the crypto library's verification error code of a certificate against this chain, 0 (X509_V_OK) when it
  // verifies; X509_V_ERR_UNSPECIFIED when it is of another chain or nothing could be verified.
  [[nodiscard]] int verifyCert(X509* certificate) const;

 private:
  enum class Kind { kRoot, kCa, kEndEntity };
  struct Tally {
    int roots = 0;
    int endEntities = 0;
    int verified = 0;
    X509* lastEndEntity = nullptr;
  };

  [[nodiscard]] STACK_OF(X509) * certificates() const noexcept;
  void newStore();
  [[nodiscard]] bool verifyAll();
  void examine(X509* x509, Tally& tally);
  [[nodiscard]] bool verifyAuthority(std::unique_ptr<cX509> certificate);
  [[nodiscard]] bool verifiesAnew() const;
  [[nodiscard]] bool isIssuerKnown(const cX509& certificate) const;
  [[nodiscard]] static Kind kindOf(const cX509& certificate);
  static void logCertificate(const cX509& certificate, Kind kind);

  bool sound_ = false;
  std::string title_;
  std::string ski_;
  Pkcs7Ptr pkcs7_;
  X509StorePtr store_;
  std::set<std::string> subjects_;
  std::map<std::string, Authority> authorities_;
  std::unique_ptr<cCrlList> crlList_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCERTCHAINENTRY_H_
