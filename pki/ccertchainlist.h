// cCertChainList: the CA chains that a signature may carry, loaded once per process from the P7B files that the
// property file names:
//
//   P7B.path = directory      P7B<i>.name = file      P7B<i>.SKI = subject key identifier of the issuing CA      i =
//   0..9
//
// A chain file is PKCS#7 signed data (RFC 2315, section 9) in DER, of which only the certificates are used. The chain
// for a signer is found by the authority key identifier of the signer's certificate (RFC 5280, section 4.2.1.1), which
// must equal a configured SKI: hexadecimal, upper case. A chain file that fails a step is logged and left out; the
// others are loaded all the same.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
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
  kNoDirectory,          // P7B.path is missing, so no index is read
  kDirectoryUnreadable,  // the directory cannot be searched, so no index is read
  kNotConfigured,        // no P7B<i>.name
  kNotListed,            // no entry of the directory with that name, or its name is not one of a chain file
  kNotOpened,
  kNoPkcs7,  // no signed data in DER
  kNoCertificates,
  kNoRoot,
  kNotVerified,  // a root or CA does not verify; the chain's members tell which one and why
  kOtherSki,     // P7B<i>.SKI is empty or not the key identifier of a verified root or CA of the file
  kAccepted
};

// ChainReport: what an observer is told once about each index, or about the directory.
struct ChainReport {
  ChainState state;
  std::string title = {};                  // P7B0 to P7B9; empty when the directory is the reason
  std::string path = {};                   // of the file, from kNotOpened on
  const cCertChainEntry* chain = nullptr;  // from kNoRoot on; borrowed for the duration of the call
};
// ChainObserver: called in the order of the indices, before an accepted chain is stored, so that `holds` then tells
// whether an earlier index has the same key identifier.
using ChainObserver = std::function<void(const ChainReport& report)>;

class cCertChainList {
 public:
  cCertChainList() = default;
  virtual ~cCertChainList() = default;
  cCertChainList(const cCertChainList&) = delete;
  cCertChainList& operator=(const cCertChainList&) = delete;

  // isEmpty: whether no chain is stored; true before loadCertChainFiles.
  [[nodiscard]] bool isEmpty() const noexcept { return chains_.empty(); }

  // loadCertChainFiles: stores every valid chain under its configured key identifier. True when each chain file that
  // could be opened was accepted, also when none is configured. Of two chains with one key identifier the first is
  // kept. `observer` is told what became of each chain; it changes nothing. Throws std::bad_alloc, and then no chain is
  // kept, so that the next call loads them all.
  bool loadCertChainFiles(const cProperty* property, const ChainObserver& observer = {});

  // isChainFileName: whether a file of that name in the directory is looked at: it ends in .p7b, in any letter case.
  [[nodiscard]] static bool isChainFileName(const std::string& name);

  // holds: whether a chain is stored under that subject key identifier.
  [[nodiscard]] bool holds(const std::string& ski) const { return chains_.contains(ski); }

  // prepareCertChain: the certificates above `signer`, from the root (when the chain reaches it) down to the issuing
  // CA; null when no chain is stored under the signer's authority key identifier. The caller owns the list, the
  // certificates stay with this object.
  [[nodiscard]] X509StackPtr prepareCertChain(X509* signer) const;

 private:
  // Candidate: the settings of one index and, once its file is decoded, its chain.
  struct Candidate;

  // load: reads the directory setting and the directory, then loads the chains. False without a property file or a
  // directory that can be searched, otherwise as loadAll.
  [[nodiscard]] bool load(const cProperty* property, const ChainObserver& observer);
  // loadAll: loads the chains of all indices; true when every file that was opened was accepted.
  [[nodiscard]] bool loadAll(const std::vector<std::string>& names, const cProperty& property,
                             const ChainObserver& observer);
  // listChainFiles: the names of the chain files in directory_; false when it cannot be searched.
  [[nodiscard]] bool listChainFiles(std::vector<std::string>& names) const;
  // loadChain: takes the steps of ChainState for one index, until one fails. The configured name is compared with
  // `names` in any letter case.
  [[nodiscard]] ChainState loadChain(Candidate& candidate, const std::vector<std::string>& names,
                                     const cProperty& property) const;
  // collectIssuers: the certificates from the CA with the key identifier `key` up to the root, all of the chain that is
  // stored under `key`; the topmost comes first. It ends early at an issuer that the chain does not have or that was
  // met before. Null when no chain is stored under `key`. Throws std::bad_alloc.
  [[nodiscard]] X509StackPtr collectIssuers(std::string key) const;

  // directory_: P7B.path. chains_: by the configured key identifier.
  std::string directory_;
  std::map<std::string, std::unique_ptr<cCertChainEntry>> chains_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCERTCHAINLIST_H_
