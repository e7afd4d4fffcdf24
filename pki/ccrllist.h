// cCrlList: the CRL files of one chain, by title.
#ifndef ZEPASIGN_PKI_CCRLLIST_H_
#define ZEPASIGN_PKI_CCRLLIST_H_

#include <map>
#include <memory>
#include <string>

#include "pki/ccrlfileentry.h"

namespace zepasign {

class cCrlList {
 public:
  explicit cCrlList(std::string folder) : folder_(std::move(folder)) {}
  virtual ~cCrlList() = default;
  cCrlList(const cCrlList&) = delete;
  cCrlList& operator=(const cCrlList&) = delete;

  // addCrlFile: loads a file of the CRL folder under a title. True when a new entry was filed, whether its file could
  // be loaded or not.
  bool addCrlFile(const std::string& title, const std::string& fileName);

 private:
  bool add(const std::string& title, const std::string& fileName);

  std::string folder_;
  std::map<std::string, std::unique_ptr<cCrlFileEntry>> entries_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CCRLLIST_H_
