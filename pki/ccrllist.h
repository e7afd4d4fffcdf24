// cCrlList: the CRL files of one chain, by title (crlFile0 to crlFile4). They are loaded and logged; none of them ever
// rejects a chain or a signature.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
//
// Each cCertChainEntry owns one list. It adds the file that P7B<i>.crlFile<j> names under the title crlFile<j>, for j
// from 0 to 4; all files are in the directory CRL.path.
#ifndef ZEPASIGN_PKI_CCRLLIST_H_
#define ZEPASIGN_PKI_CCRLLIST_H_

#include <map>
#include <memory>
#include <string>

#include "pki/ccrlfileentry.h"

namespace zepasign {

class cCrlList {
 public:
  // cCrlList: `directory` is CRL.path; with an empty one no file is loaded.
  explicit cCrlList(std::string directory) : directory_(std::move(directory)) {}
  virtual ~cCrlList() = default;
  cCrlList(const cCrlList&) = delete;
  cCrlList& operator=(const cCrlList&) = delete;

  // addCrlFile: loads a file of the CRL directory under a title. True when a new entry was stored, whether its file
  // could be loaded or not; false without a directory or a file name, and when the title has an entry.
  bool addCrlFile(const std::string& title, const std::string& fileName);

  // entries: the CRLs that were added, by title; for the configuration check.
  using Entries = std::map<std::string, std::unique_ptr<cCrlFileEntry>>;
  [[nodiscard]] const Entries& entries() const noexcept { return entries_; }

 private:
  // add: as addCrlFile. Without memory for the entry object it logs that and returns false; other allocation failures
  // throw std::bad_alloc.
  bool add(const std::string& title, const std::string& fileName);

  // directory_: CRL.path. entries_: never null, in the order of the titles.
  std::string directory_;
  Entries entries_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCRLLIST_H_
