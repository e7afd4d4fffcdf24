#include "pki/cpkcs12.h"

#include <cstring>
#include <limits>
#include <new>

#include "base/big5.h"
#include "base/clog.h"
#include "base/errors.h"
#include "base/failure.h"
#include "base/platform.h"
#include "base/text.h"
#include "pki/cx509.h"

namespace zepasign {
std::int64_t macIterations(const PKCS12* pfx) {
  const ASN1_INTEGER* iterations = nullptr;
  PKCS12_get0_mac(nullptr, nullptr, nullptr, &iterations, pfx);
  std::int64_t count = 1;  // the default
  const bool fits = iterations == nullptr || ASN1_INTEGER_get_int64(&count, iterations) == 1;
  return fits ? count : std::numeric_limits<std::int64_t>::max();
}

int cPkcs12::loadPfxFile(const char* filePath, const char* fileName, const char* pfxPasswd) {
  pkcs12_.reset();
  if (content_.certificate) earlier_.push_back(std::move(content_));
  const int result = codeOf([&] { return load(filePath, fileName, pfxPasswd); });
  logInt(kDebug, "end cPkcs12::loadPfxFile()", result);
  if (result == kOutOfMemory) throw std::bad_alloc();  // callers log of other codes that the password is wrong
  return result;
}

// load: the password is looked at only when the file exists, which is the order that callers see in the log.
int cPkcs12::load(const char* filePath, const char* fileName, const char* pfxPasswd) {
  if (const int code = checkText(filePath, "參數 filePath 內容為 NULL"_big5, "參數 filePath 長度為 0"_big5))
    return code;
  if (const int code = checkText(fileName, "參數 fileName 內容為 NULL"_big5, "參數 fileName 長度為 0"_big5))
    return code;
  const std::string path = pathOf(filePath, fileName);
  const platform::FilePtr file = platform::openForReading(path.c_str());
  if (!file) {
    logErrorValue("憑證檔不存在, 檔名"_big5, path);
    return kPfxFileUnreadable;
  }
  if (const int code = checkText(pfxPasswd, "參數 pfxPasswd 內容為 NULL"_big5, "參數 pfxPasswd 長度為 0"_big5)) {
    return code;
  }
  const BioPtr stream(BIO_new_fp(file.get(), BIO_NOCLOSE));
  if (!stream) throw std::bad_alloc();
  pkcs12_.reset(attempt([&] { return d2i_PKCS12_bio(stream.get(), nullptr); }));
  return pkcs12_ ? openContainer(pfxPasswd) : kPfxFileUnreadable;
}

int cPkcs12::openContainer(const char* pfxPasswd) {
  if (macIterations(pkcs12_.get()) > kMaxMacIterations) {
    logText(kError, "pfx 檔 MAC 的重複次數過大"_big5);
    return kPasswordOrKeyWrong;
  }
  return unpack(pfxPasswd) ? kSuccess : kPasswordOrKeyWrong;
}

// unpack: takes out key and certificates. PKCS12_parse checks the MAC, but only where there is one. Nothing is done to
// blind the private key against timing attacks: the crypto library's keys do so by themselves.
bool cPkcs12::unpack(const char* pfxPasswd) {
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  STACK_OF(X509)* caCerts = nullptr;
  if (PKCS12_mac_present(pkcs12_.get()) != 1) return false;
  Content content;
  const bool parsed = attempt([&] {
    const int result = PKCS12_parse(pkcs12_.get(), pfxPasswd, &key, &certificate, &caCerts);
    content.caCerts.reset(caCerts);  // also after a failure, which may leave a part of the list behind
    return result == 1;
  });
  if (!parsed) return false;
  content.privateKey.reset(key);
  content.certificate.reset(certificate);
  if (!content.privateKey || !content.certificate) return false;
  // The size is read once, with the key, and an allocation failure in that passed over: the key would never sign.
  if (EVP_PKEY_get_size(content.privateKey.get()) <= 0) throw std::bad_alloc();
  content_ = std::move(content);
  return true;
}

int cPkcs12::checkCertValid() const {
  const int result = certificate() != nullptr ? compareWithNow() : kCertificateNotFound;
  logInt(kDebug, "end cPkcs12::checkCertValid()", result);
  return result;
}

int cPkcs12::compareWithNow() const {
  const std::string now = platform::localDateText();
  const cX509 fields(certificate());
  const std::string notBefore = fields.getNotBefore();
  const std::string notAfter = fields.getNotAfter();
  logDebugValue("憑證生效日"_big5, notBefore);
  logDebugValue("憑證到期日"_big5, notAfter);
  constexpr std::size_t kDateLength = 14;
  if (std::strncmp(now.c_str(), notBefore.c_str(), kDateLength) < 0) {
    logText(kError, "驗憑證效期 : 憑證 未生效"_big5);
    return kCertificateNotYetValid;
  }
  if (std::strncmp(now.c_str(), notAfter.c_str(), kDateLength) > 0) {
    logText(kError, "驗憑證效期 : 憑證 已過期"_big5);
    return kCertificateExpired;
  }
  return kSuccess;
}

int cPkcs12::checkKeyUsageForSign() const {
  int result = kCertificateNotFound;
  if (certificate() != nullptr) {
    unsigned usage = 0;
    if (cX509(certificate()).getKeyUsage(usage)) {
      logInt(kDebug, "憑證用途(KeyUsage)"_big5, static_cast<int>(usage));
    }
    result = (usage & (kDigitalSignature | kNonRepudiation)) != 0 ? kSuccess : kKeyUsageUnsuitable;
  }
  logInt(kDebug, "end cPkcs12::checkKeyUsageForSign()", result);
  return result;
}

}  // namespace zepasign
