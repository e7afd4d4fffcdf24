// cCertChainList: the CA chains that a signature may carry, loaded once per process from the P7B files that the
// property file names:
//
//   P7B.path = folder      P7B<i>.name = file      P7B<i>.SKI = subject key identifier of the issuing CA      i = 0..9
#ifndef ZEPASIGN_PKI_CCERTCHAINLIST_H_
#define ZEPASIGN_PKI_CCERTCHAINLIST_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pki/ccertchainentry.h"
#include "pki/openssl.h"

namespace zepasign {

class cProperty;

class cCertChainList {
 public:
  cCertChainList() = default;
  virtual ~cCertChainList() = default;
  cCertChainList(const cCertChainList&) = delete;
  cCertChainList& operator=(const cCertChainList&) = delete;

  [[nodiscard]] bool isEmpty() const noexcept { return chains_.empty(); }

  // loadCertChainFiles: files every sound chain under its configured key identifier. True when each chain file that
  // could be opened was accepted, also when none is configured. Of two chains with one key identifier the first is
  // kept.
  bool loadCertChainFiles(const cProperty* property);

  // prepareCertChain: the certificates above `signer`, from the root (when the chain reaches it) down to the issuing
  // CA; null when no chain is filed under the signer's authority key identifier. The caller owns the list, the
  // certificates stay with this object.
  [[nodiscard]] X509StackPtr prepareCertChain(X509* signer) const;

 private:
  enum class Outcome { kNotOpened, kRejected, kAccepted };

  [[nodiscard]] bool load(const cProperty* property);
  [[nodiscard]] bool listChainFiles(std::vector<std::string>& names) const;
  [[nodiscard]] Outcome loadChain(const std::string& title, const std::vector<std::string>& names,
                                  const cProperty& property);
  [[nodiscard]] static bool isAcceptable(const cCertChainEntry& chain, const std::string& ski);
  [[nodiscard]] X509StackPtr climb(std::string key) const;

  std::string folder_;
  std::map<std::string, std::unique_ptr<cCertChainEntry>> chains_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCERTCHAINLIST_H_
