#include "pki/ccrllist.h"

#include <new>

#include "base/big5.h"
#include "base/clog.h"

namespace zepasign {

bool cCrlList::addCrlFile(const std::string& title, const std::string& fileName) {
  logText(kDebug, "begin cCrlList::addCrlFile()");
  logValue(kParam, "title", title);
  logValue(kParam, "fileName", fileName);
  const bool added = add(title, fileName);
  logBool(kDebug, "end cCrlList::addCrlFile()", added);
  return added;
}

bool cCrlList::add(const std::string& title, const std::string& fileName) {
  if (directory_.empty() || fileName.empty()) {
    logText(kError, directory_.empty() ? "未指定 CRL 目錄!"_big5 : "未指定 CRL 檔案的檔名!"_big5);
    return false;
  }
  if (entries_.contains(title)) {
    logErrorValue("CRL 重覆設定"_big5, title);
    return false;
  }
  std::unique_ptr<cCrlFileEntry> entry(new (std::nothrow) cCrlFileEntry(title, directory_, fileName));
  if (!entry) {
    logText(kError, "配置記憶體(cCrlEntry)失敗!"_big5);
    return false;
  }
  entry->loadCrl();
  entries_.emplace(title, std::move(entry));
  return true;
}

}  // namespace zepasign
