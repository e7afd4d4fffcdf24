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
namespace {

// drop: forgets without freeing.
template <class Pointer>
void drop(Pointer& pointer) {
  static_cast<void>(pointer.release());
}

}  // namespace

std::int64_t macIterations(const PKCS12* pfx) {
  const ASN1_INTEGER* rounds = nullptr;
  PKCS12_get0_mac(nullptr, nullptr, nullptr, &rounds, pfx);
  std::int64_t count = 1;
  const bool fits = rounds == nullptr || ASN1_INTEGER_get_int64(&count, rounds) == 1;
  return fits ? count : std::numeric_limits<std::int64_t>::max();
}

int cPkcs12::loadPfxFile(const char* filePath, const char* fileName, const char* pfxPasswd) {
  pkcs12_.reset();
  drop(privateKey_);
  drop(certificate_);
  drop(caCerts_);
  const ErrorQueueMark mark;
  const int result = loadContainer(filePath, fileName, pfxPasswd);
  logInt(kDebug, "end cPkcs12::loadPfxFile()", result);
  return result;
}

int cPkcs12::loadContainer(const char* filePath, const char* fileName, const char* pfxPasswd) {
  if (const int code = checkText(filePath, "參數 filePath 內容為 NULL"_big5, "參數 filePath 長度為 0"_big5))
    return code;
  if (const int code = checkText(fileName, "參數 fileName 內容為 NULL"_big5, "參數 fileName 長度為 0"_big5))
    return code;
  const std::string path = std::string(filePath) + '/' + fileName;
  if (!platform::openForReading(path.c_str())) {
    logErrorValue("憑證檔不存在, 檔名"_big5, path);
    return kPfxFileUnreadable;
  }
  if (const int code = checkText(pfxPasswd, "參數 pfxPasswd 內容為 NULL"_big5, "參數 pfxPasswd 長度為 0"_big5)) {
    return code;
  }
  if (const int code = readContainer(path)) return code;
  return openContainer(pfxPasswd);
}

int cPkcs12::readContainer(const std::string& path) {
  const platform::FilePtr file = platform::openForReading(path.c_str());
  if (!file) return kPfxFileUnreadable;
  const BioPtr stream(BIO_new_fp(file.get(), BIO_NOCLOSE));
  if (!stream) throw std::bad_alloc();
  OwnErrors errors;
  pkcs12_.reset(d2i_PKCS12_bio(stream.get(), nullptr));
  if (pkcs12_) return kSuccess;
  errors.throwIfMemoryLacks();
  return kPfxFileUnreadable;
}

int cPkcs12::openContainer(const char* pfxPasswd) {
  if (macIterations(pkcs12_.get()) > kMaxMacIterations) {
    logText(kError, "pfx 檔 MAC 的重複次數過大"_big5);
    return kPasswordOrKeyWrong;
  }
  OwnErrors errors;
  Outcome outcome = unpack(pfxPasswd, errors);
  if (outcome == Outcome::kFailed) outcome = unpack(pfxPasswd, errors);
  if (outcome == Outcome::kOpened) return kSuccess;
  errors.throwIfMemoryLacks();
  return kPasswordOrKeyWrong;
}

// unpack: one attempt. What failed deserves a second one: without memory the crypto library may fail without saying
// why, or decode a certificate without its key. The keys of this crypto library blind their private operation by
// themselves; nothing is switched on.
cPkcs12::Outcome cPkcs12::unpack(const char* pfxPasswd, OwnErrors& errors) {
  if (PKCS12_verify_mac(pkcs12_.get(), pfxPasswd, -1) != 1) {
    return errors.none() ? Outcome::kWrongPassword : Outcome::kFailed;
  }
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  STACK_OF(X509)* caCerts = nullptr;
  if (PKCS12_parse(pkcs12_.get(), pfxPasswd, &key, &certificate, &caCerts) != 1) return Outcome::kFailed;
  EvpPkeyPtr ownedKey(key);
  X509Ptr ownedCertificate(certificate);
  X509StackPtr ownedCaCerts(caCerts);
  if (!ownedKey || !ownedCertificate) {
    sk_X509_pop_free(ownedCaCerts.release(), X509_free);
    return Outcome::kFailed;
  }
  privateKey_ = std::move(ownedKey);
  certificate_ = std::move(ownedCertificate);
  caCerts_ = std::move(ownedCaCerts);
  return Outcome::kOpened;
}

int cPkcs12::checkCertValid() const {
  const int result = certificate_ ? compareWithNow() : kCertificateNotFound;
  logInt(kDebug, "end cPkcs12::checkCertValid()", result);
  return result;
}

int cPkcs12::compareWithNow() const {
  const std::string now = platform::localDateText();
  const cX509 certificate(certificate_.get());
  const std::string notBefore = certificate.getNotBefore();
  const std::string notAfter = certificate.getNotAfter();
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
  if (certificate_) {
    unsigned usage = 0;
    if (cX509(certificate_.get()).getKeyUsage(usage))
      logInt(kDebug, "憑證用途(KeyUsage)"_big5, static_cast<int>(usage));
    result = (usage & (kDigitalSignature | kNonRepudiation)) != 0 ? kSuccess : kKeyUsageUnsuitable;
  }
  logInt(kDebug, "end cPkcs12::checkKeyUsageForSign()", result);
  return result;
}

}  // namespace zepasign
