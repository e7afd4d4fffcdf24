// A file may hold several certificates of one name: a renewed root, or the certificates that link an old and a new
// root. libcrypto takes the first that fits by name for the issuer, so self-signed certificates are the first of the
// trusted ones, and each of them is verified as its own trust anchor. The trusted certificates are given as a stack: a
// store sorts its own by name with qsort, which leaves those of one name in any order on Windows.
#include "pki/ccertchainentry.h"

#include <algorithm>
#include <new>

#include "base/big5.h"
#include "base/clog.h"
#include "base/cproperty.h"
#include "base/propertykeys.h"

namespace zepasign {
namespace {

// signedItself: whether the certificate's own key made its signature. False also for a self-issued certificate that
// another key of the same name signed, such as those that link the old and the new key of a renewed root.
bool signedItself(X509* certificate) { return X509_self_signed(certificate, 1) == 1; }

// selfSignedFirst: all of them, borrowed, to be trusted. Throws std::bad_alloc.
X509StackPtr selfSignedFirst(const STACK_OF(X509) * certificates) {
  X509StackPtr trusted(sk_X509_new_null());
  for (const bool selfSigned : {true, false}) {
    for (int i = 0; i < sk_X509_num(certificates); ++i) {
      X509* certificate = sk_X509_value(certificates, i);
      if (signedItself(certificate) != selfSigned) continue;
      if (sk_X509_push(trusted.get(), certificate) < 1) throw std::bad_alloc();
    }
  }
  return trusted;
}

// verify: the X509_V code of a certificate against the trusted ones. Throws std::bad_alloc.
int verify(X509_STORE* store, STACK_OF(X509) * trusted, X509* certificate) {
  const ErrorScope errors;
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (!context || X509_STORE_CTX_init(context.get(), store, certificate, nullptr) != 1) {
    logText(kError, "初始化失敗(X509_STORE_CTX_init)!"_big5);
    throw std::bad_alloc();
  }
  X509_STORE_CTX_set0_trusted_stack(context.get(), trusted);
  if (signedItself(certificate)) X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_PARTIAL_CHAIN);
  if (X509_verify_cert(context.get()) == 1) return X509_V_OK;
  const int code = X509_STORE_CTX_get_error(context.get());
  errors.throwIfOutOfMemory();
  if (code == X509_V_ERR_OUT_OF_MEM) throw std::bad_alloc();  // the chain may be valid
  return code != X509_V_OK ? code : X509_V_ERR_UNSPECIFIED;
}

}  // namespace

cCertChainEntry::cCertChainEntry(std::string title, const PKCS7* pkcs7, const cProperty* property)
    : title_(std::move(title)), pkcs7_(PKCS7_dup(pkcs7)) {
  if (!pkcs7_) throw std::bad_alloc();  // it was decoded, so it can be copied
  crlList_ = std::make_unique<cCrlList>(property == nullptr ? "" : property->getProperty(keys::kCrlPath));
  valid_ = selfVerify() && loadCrlList(property);
}

const cCertChainEntry::Authority* cCertChainEntry::findAuthority(const std::string& ski) const {
  const auto found = authorities_.find(ski);
  return found == authorities_.end() ? nullptr : &found->second;
}

STACK_OF(X509) * cCertChainEntry::certificates() const noexcept { return pkcs7_->d.sign->cert; }

bool cCertChainEntry::selfVerify() {
  logText(kDebug, "begin cCertChainEntry::selfVerify()");
  bool verified = false;
  if (sk_X509_num(certificates()) > 0) {
    newStore();
    verified = verifyAll();
    if (!verified && mayBeValid() && freshCopyVerifies()) throw std::bad_alloc();
  }
  logBool(kInfo, "end cCertChainEntry::selfVerify()", verified);
  return verified;
}

void cCertChainEntry::newStore() {
  store_.reset(X509_STORE_new());
  if (!store_) {
    logText(kError, "初始化失敗(X509_STORE_new)!"_big5);
    throw std::bad_alloc();
  }
  trusted_ = selfSignedFirst(certificates());
}

bool cCertChainEntry::verifyAll() {
  members_.clear();
  for (int i = 0; i < sk_X509_num(certificates()); ++i) examine(sk_X509_value(certificates(), i));
  const auto lastEndEntity = std::find_if(members_.rbegin(), members_.rend(),
                                          [](const Member& member) { return member.kind == Kind::kEndEntity; });
  if (lastEndEntity != members_.rend()) static_cast<void>(verifyCert(lastEndEntity->certificate));  // only logged
  if (!hasRoot()) {
    logText(kError, "找不到根憑證可供驗章"_big5);
    return false;
  }
  return std::all_of(members_.begin(), members_.end(), [](const Member& member) { return member.code == X509_V_OK; });
}

bool cCertChainEntry::hasRoot() const noexcept {
  return std::any_of(members_.begin(), members_.end(), [](const Member& member) { return member.kind == Kind::kRoot; });
}

void cCertChainEntry::examine(X509* x509) {
  auto certificate = std::make_unique<cX509>(x509);
  const Kind kind = kindOf(*certificate);
  if (logger.isEnabled(kDebug)) logCertificate(*certificate, kind);
  const int code = kind == Kind::kEndEntity ? X509_V_OK : verifyAuthority(std::move(certificate));
  members_.push_back({x509, kind, code});
}

// kindOf: a certificate without key usage is still a root when it is self-issued, and an end entity otherwise.
cCertChainEntry::Kind cCertChainEntry::kindOf(const cX509& certificate) {
  if (certificate.isSelfIssued()) return Kind::kRoot;
  unsigned usage = 0;
  certificate.getKeyUsage(usage);
  return (usage & (kKeyCertSign | kCrlSign)) != 0 ? Kind::kCa : Kind::kEndEntity;
}

void cCertChainEntry::logCertificate(const cX509& certificate, Kind kind) {
  static constexpr const char* kTitles[] = {"\t|--- 根憑證, 憑證序號"_big5, "\t|--- CA 憑證, 憑證序號"_big5,
                                            "\t|--- EE 憑證, 憑證序號"_big5};
  unsigned usage = 0;
  certificate.getKeyUsage(usage);
  logDebugValue(kTitles[static_cast<int>(kind)], certificate.getSerial());
  logDebugValue("\t|\t|--- 憑證 主旨 CN"_big5, certificate.getSubjectCN());
  logDebugValue("\t|\t|--- 憑證 發行者 CN"_big5, certificate.getIssuerCN());
  logDebugValue("\t|\t|--- 憑證 生效日"_big5, certificate.getNotBefore());
  logDebugValue("\t|\t|--- 憑證 到期日"_big5, certificate.getNotAfter());
  logDebugValue("\t|\t|--- 憑證 摘要值"_big5, certificate.getFingerprint());
  logDebugValue("\t|\t|--- 憑證 SKI"_big5, certificate.getSubjectKeyId());
  logDebugValue("\t|\t|--- 憑證 AKI"_big5, certificate.getAuthorityKeyId());
  logInt(kDebug, "\t|\t|--- 金鑰使用方方式"_big5, static_cast<int>(usage));
  if (kind != Kind::kEndEntity) return;
  for (const std::string& point : certificate.getCrlDistPoints()) logDebugValue("\t|\t|--- CrlDP", point);
  logText(kDebug, "\t|\t|--- 不予驗證"_big5);
}

int cCertChainEntry::verifyAuthority(std::unique_ptr<cX509> certificate) {
  const int code = verify(store_.get(), trusted_.get(), certificate->get0());
  if (code != X509_V_OK) {
    logErrorValue("\t|\t|--- 驗章失敗, 原因"_big5, X509_verify_cert_error_string(code));
    return code;
  }
  std::string subject = certificate->getSubjectOneLine();
  subjects_.insert(subject);
  if (const std::string ski = certificate->getSubjectKeyId(); !ski.empty()) {
    Authority authority{nullptr, std::move(subject), certificate->getAuthorityKeyId(), certificate->isSelfIssued()};
    authority.certificate = std::move(certificate);
    authorities_.try_emplace(ski, std::move(authority));  // the first of several with one key is kept
  }
  logText(kDebug, "\t|\t|--- 驗證成功"_big5);
  return X509_V_OK;
}

// mayBeValid: whether an allocation failure can be why the chain was refused. It cannot make a root disappear or
// change a date.
bool cCertChainEntry::mayBeValid() const {
  return hasRoot() && std::none_of(members_.begin(), members_.end(), [](const Member& member) {
           return member.code == X509_V_ERR_CERT_HAS_EXPIRED || member.code == X509_V_ERR_CERT_NOT_YET_VALID;
         });
}

// freshCopyVerifies: libcrypto keeps decoded extensions in the certificate, and what it kept while memory was short
// stays wrong without a reported error, so that the chain would be lost until the process ends. A copy decodes again.
bool cCertChainEntry::freshCopyVerifies() const {
  const Pkcs7Ptr copy(PKCS7_dup(pkcs7_.get()));
  if (!copy) throw std::bad_alloc();
  const STACK_OF(X509)* fresh = copy->d.sign->cert;
  const X509StackPtr trusted = selfSignedFirst(fresh);
  for (int i = 0; i < sk_X509_num(fresh); ++i) {
    X509* certificate = sk_X509_value(fresh, i);
    if (kindOf(cX509(certificate)) == Kind::kEndEntity) continue;
    if (verify(store_.get(), trusted.get(), certificate) != X509_V_OK) return false;
  }
  return true;
}

int cCertChainEntry::verifyCert(X509* certificate) const {
  logText(kDebug, "begin cCertChainEntry::verifyCert()");
  int result = X509_V_ERR_UNSPECIFIED;
  if (!store_) {
    logText(kError, "初始化失敗(store尚未建立)!"_big5);
  } else {
    const cX509 subject(certificate);
    logDebugValue("驗章 Subject"_big5, subject.getSubjectOneLine());
    if (isIssuerKnown(subject)) {
      result = verify(store_.get(), trusted_.get(), certificate);
    } else {
      logText(kError, "不在同一個憑證鏈!"_big5);
    }
  }
  logInt(kDebug, "end cCertChainEntry::verifyCert()", result);
  return result;
}

bool cCertChainEntry::isIssuerKnown(const cX509& certificate) const {
  return subjects_.contains(certificate.getIssuerOneLine());
}

bool cCertChainEntry::loadCrlList(const cProperty* property) {
  static constexpr const char* kEndLine = "end cCertChainEntry::loadCrlList()";
  logText(kDebug, "begin cCertChainEntry::loadCrlList()");
  if (!crlList_ || property == nullptr) {
    if (property == nullptr) logText(kError, "參數錯誤 : property = NULL"_big5);
    logText(kInfo, kEndLine);
    return false;
  }
  int loaded = 0;
  for (int i = 0; i < keys::kMaxCrlsOfChain; ++i) {
    const std::string crlTitle = keys::crlTitle(i);
    const std::string fileName = property->getProperty(keys::crlFile(title_, crlTitle).c_str());
    if (!fileName.empty() && crlList_->addCrlFile(crlTitle, fileName)) ++loaded;
  }
  logInt(kInfo, "載入 crl 檔數量"_big5, loaded);
  logText(kInfo, kEndLine);
  return true;
}

}  // namespace zepasign
