// cCertChainList: the CA chains that a signature may carry, loaded once per process from the P7B files that the
// property file names:
//
//   P7B.path = folder      P7B<i>.name = file      P7B<i>.SKI = subject key identifier of the issuing CA      i = 0..9
#ifndef ZEPASIGN_PKI_CCERTCHAINLIST_H_
#define ZEPASIGN_PKI_CCERTCHAINLIST_H_

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pki/ccertchainentry.h"
#include "pki/openssl.h"

namespace zepasign {

class cProperty;

// ChainState: what became of the chain settings of one index, in the order in which the steps are taken.
enum class ChainState {
  kNoFolder,          // P7B.path is missing, so no index is read
  kFolderUnreadable,  // the folder cannot be searched, so no index is read
  kNotConfigured,     // no P7B<i>.name
  kNotListed,         // no entry of the folder with that name, or its name is not one of a chain file
  kNotOpened,
  kNoPkcs7,  // no signed data in DER
  kNoCertificates,
  kNoRoot,
  kNotVerified,  // a root or CA does not verify; the chain's members tell which one and why
  kOtherSki,     // P7B<i>.SKI is empty or not the key identifier of a verified root or CA of the file
  kAccepted
};

// ChainReport: what an observer is told once about each index, or about the folder.
struct ChainReport {
  ChainState state;
  std::string title = {};                  // P7B0 to P7B9; empty when the folder is the reason
  std::string path = {};                   // of the file, from kNotOpened on
  const cCertChainEntry* chain = nullptr;  // from kNoRoot on; borrowed for the duration of the call
};
using ChainObserver = std::function<void(const ChainReport& report)>;

class cCertChainList {
 public:
  cCertChainList() = default;
  virtual ~cCertChainList() = default;
  cCertChainList(const cCertChainList&) = delete;
  cCertChainList& operator=(const cCertChainList&) = delete;

  [[nodiscard]] bool isEmpty() const noexcept { return chains_.empty(); }

  // loadCertChainFiles: stores every valid chain under its configured key identifier. True when each chain file that
  // could be opened was accepted, also when none is configured. Of two chains with one key identifier the first is
  // kept. `observer` is told what became of each chain; it changes nothing. Throws std::bad_alloc, and then no chain is
  // kept, so that the next call loads them all.
  bool loadCertChainFiles(const cProperty* property, const ChainObserver& observer = {});

  // isChainFileName: whether a file of that name in the folder is looked at: it ends in .p7b, in any letter case.
  [[nodiscard]] static bool isChainFileName(const std::string& name);

  // holds: whether a chain is stored under that subject key identifier.
  [[nodiscard]] bool holds(const std::string& ski) const { return chains_.contains(ski); }

  // prepareCertChain: the certificates above `signer`, from the root (when the chain reaches it) down to the issuing
  // CA; null when no chain is stored under the signer's authority key identifier. The caller owns the list, the
  // certificates stay with this object.
  [[nodiscard]] X509StackPtr prepareCertChain(X509* signer) const;

 private:
  struct Candidate;

  [[nodiscard]] bool load(const cProperty* property, const ChainObserver& observer);
  [[nodiscard]] bool loadAll(const std::vector<std::string>& names, const cProperty& property,
                             const ChainObserver& observer);
  [[nodiscard]] bool listChainFiles(std::vector<std::string>& names) const;
  [[nodiscard]] ChainState loadChain(Candidate& candidate, const std::vector<std::string>& names,
                                     const cProperty& property) const;
  [[nodiscard]] X509StackPtr collectIssuers(std::string key) const;

  std::string folder_;
  std::map<std::string, std::unique_ptr<cCertChainEntry>> chains_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCERTCHAINLIST_H_
