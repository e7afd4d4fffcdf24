#include "pki/ccrlfileentry.h"

#include <cstring>
#include <unordered_set>

#include "base/big5.h"
#include "base/clog.h"
#include "base/platform.h"
#include "pki/cx509.h"

namespace zepasign {

std::string cCrlFileEntry::path() const {
  return directory_.ends_with('/') ? directory_ + fileName_ : directory_ + '/' + fileName_;
}

bool cCrlFileEntry::loadCrl() {
  bool loaded = false;
  if (fileName_.empty()) {
    logText(kError, "尚未指定 CRL 儲存檔案的檔名!"_big5);
  } else {
    logDebugValue("載入 CRL 檔案檔名"_big5, path());
    if (content_.loadFromFile(path().c_str())) {
      logInt(kDebug, "載入 CRL 檔案長度"_big5, content_.length());
      loaded = parseCrl();
    }
  }
  logBool(kDebug, "end cCrlFileEntry::loadCrl()", loaded);
  return loaded;
}

bool cCrlFileEntry::parseCrl() {
  logDebugValue("begin cCrlFileEntry::parseCrl()", title_);
  if (content_.data() == nullptr) {
    logText(kError, "尚未載入 CRL 內容!"_big5);
    return false;
  }
  const ErrorScope errors;
  const unsigned char* der = content_.data();
  crl_.reset(d2i_X509_CRL(nullptr, &der, content_.length()));
  if (!crl_) {
    const std::string reason = errors.firstText();
    errors.throwIfOutOfMemory();
    logErrorValue("解析 crl 失敗, OpenSSL 錯誤訊息"_big5, reason);
    return false;
  }
  checkNextUpdate();
  if (logger.isEnabled(kDebug)) logRevoked();
  logText(kDebug, "end cCrlFileEntry::parseCrl()");
  return true;
}

// checkNextUpdate: compares the machine's local time, not UTC, with the UTC+8 date text.
void cCrlFileEntry::checkNextUpdate() {
  constexpr std::size_t kDateLength = 14;
  const std::string now = platform::localDateText();
  const std::string nextUpdate = asn1TimeToText(X509_CRL_get0_nextUpdate(crl_.get()));
  logDebugValue("CRL 下次發佈時間"_big5, nextUpdate);
  expired_ = !nextUpdate.empty() && std::strncmp(now.c_str(), nextUpdate.c_str(), kDateLength) > 0;
  if (expired_) {
    logText(kError, "驗 CRL 效期 : CRL 已過期"_big5);
  } else {
    logText(kDebug, "驗 CRL 效期 : 有效 CRL"_big5);
  }
}

// logRevoked: how many entries there are, and how many serial numbers, since one may occur twice.
void cCrlFileEntry::logRevoked() const {
  STACK_OF(X509_REVOKED)* revoked = X509_CRL_get_REVOKED(crl_.get());
  const int count = revoked == nullptr ? 0 : sk_X509_REVOKED_num(revoked);
  std::unordered_set<std::string> serials;
  serials.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    serials.insert(serialToText(X509_REVOKED_get0_serialNumber(sk_X509_REVOKED_value(revoked, i))));
  }
  logInt(kDebug, "CRL廢止數量"_big5, count);
  logInt(kDebug, "CRL廢止數量"_big5, static_cast<int>(serials.size()));
}

}  // namespace zepasign
