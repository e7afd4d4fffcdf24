// Signing: bytes, and text and files, which become bytes first.

#include "api/zepasign.h"
#include "base/base64.h"
#include "base/big5.h"
#include "base/cchars.h"
#include "base/cfile.h"
#include "base/charset.h"
#include "base/failure.h"
#include "base/text.h"

namespace zepasign {
namespace {

// failedWithCode: like failed(), but the log line also shows the code.
int failedWithCode(int code, std::string_view message) {
  logInt(kError, message, code);
  return code;
}

}  // namespace

// beginSigning: what every signing call does first. A text or file is then signed through signBin, which begins once
// more, with its own line.
void ZEPASign::beginSigning(const char* beginLine) {
  logText(kInfo, beginLine);
  errorCode_ = kSuccess;
  signedPkcs7_.reset();
}

// signBin: catches what is thrown, so that the end line is written and shows the code in every case.
int ZEPASign::signBin(const unsigned char* data, int dataLen) {
  beginSigning("begin ZEPASign::SignPkcs7Bin()");
  errorCode_ = codeOf([=, this] { return trySignBin(data, dataLen); });
  logInt(kInfo, "end ZEPASign::SignPkcs7Bin()", errorCode_);
  return errorCode_;
}

int ZEPASign::trySignBin(const unsigned char* data, int dataLen) {
  if (data == nullptr) return failed(kWrongParameter, "參數 data 內容為 NULL"_big5);
  if (dataLen < 1) return failed(kWrongParameter, "參數 datalen <= 0"_big5);
  if (!pkcs12_) return failed(kPfxNotLoaded, "pfx 檔尚未載入"_big5);
  if (const int code = checkBeforeSigning()) return code;
  const cSignedData::Bytes content(data, static_cast<std::size_t>(dataLen));
  if (addCertMode_ <= 1) return makeSignature(content, nullptr);
  if (sk_X509_num(pkcs12_->caCerts()) > 0) return makeSignature(content, pkcs12_->caCerts());
  return makeSignature(content, certChainList.prepareCertChain(pkcs12_->certificate()).get());
}

int ZEPASign::checkBeforeSigning() const {
  if (checkValidity_) {
    if (const int code = pkcs12_->checkCertValid()) return failedWithCode(code, "驗憑證效期失敗, 返回"_big5);
  }
  if (checkKeyUsage_) {
    if (const int code = pkcs12_->checkKeyUsageForSign()) return failedWithCode(code, "驗憑證用途失敗, 返回"_big5);
  }
  if (isEmpty(signerFilter_.get())) return kSuccess;
  if (const int code = pkcs12_->checkSignerFilter(signerFilter_.get())) {
    return failedWithCode(code, "簽章憑證條件失敗, 返回"_big5);
  }
  return kSuccess;
}

int ZEPASign::makeSignature(cSignedData::Bytes content, STACK_OF(X509) * chain) {
  const char* name = digestName_.get();
  const EVP_MD* digest = name == nullptr ? nullptr : cryptoContext.digest(name);
  if (digest == nullptr) {
    logInt(kError, "簽章條件錯誤, 演算法"_big5, errorCode_);  // 0: callers depend on this line as it is
    return kSigningFailed;
  }
  if (!signedData_) signedData_ = std::make_unique<cSignedData>();
  const bool isSigned = signedData_->prepare({.digest = digest,
                                              .signer = pkcs12_->certificate(),
                                              .key = pkcs12_->privateKey(),
                                              .certificates = certificatesToAdd(chain),
                                              .addAttributes = addTimestamp_,
                                              .embedContent = addPlainText_}) &&
                        signedData_->sign(content);
  if (!isSigned) return failedWithCode(kSigningFailed, "簽章失敗"_big5);
  storeSignature();
  return kSuccess;
}

// certificatesToAdd: the signer's, then the chain's from the last to the first.
std::vector<X509*> ZEPASign::certificatesToAdd(STACK_OF(X509) * chain) const {
  std::vector<X509*> certificates;
  if (addCertMode_ > 0) certificates.push_back(pkcs12_->certificate());
  for (int i = sk_X509_num(chain) - 1; i >= 0; --i) certificates.push_back(sk_X509_value(chain, i));
  return certificates;
}

// storeSignature: writes the text once, into the block that the caller will read.
void ZEPASign::storeSignature() {
  const auto [head, content, tail] = signedData_->pieces();
  cChars text;
  text.allocate(base64::encodedLength(signedData_->size()), kTextSpare);
  base64::Encoder encoder(text.data());
  for (const cSignedData::Bytes piece : {head, content, tail}) encoder.add(piece);
  encoder.finish();
  if (logger.isEnabled(kDebug)) logger.writeHex(kDebug.name, "簽章值"_big5, {head, content, tail});
  logDebugValue("簽章值(base64)"_big5, {text.data(), static_cast<std::size_t>(text.length())});
  signedPkcs7_.adopt(text.release());
  lastSignerCert_ = pkcs12_->certificate();
}

int ZEPASign::signText(const char* plain, const char* encoding) {
  beginSigning("begin ZEPASign::SignPkcs7()");
  return errorCode_ = trySignText(plain, encoding);
}

int ZEPASign::trySignText(const char* plain, const char* encoding) {
  // Not signBin's code and text for the same condition; callers depend on both.
  if (!pkcs12_) return failed(kCertificateNotFound, "pfx 載入錯誤"_big5);
  if (const int code = checkText(plain, "參數 plain 內容為 NULL"_big5, "參數 plain 長度為 0"_big5)) return code;
  if (const int code = checkText(encoding, "參數 encoding 內容為 NULL"_big5, "參數 encoding 長度為 0"_big5))
    return code;

  struct Encoding {
    const char* name;
    const char* title;
    const char* failure;
  };
  static constexpr Encoding kEncodings[] = {
      {"BIG5", "convertUniCodeStringToAny(BIG5)", "convertUniCodeStringToAny(BIG5) 失敗"_big5},
      {"UTF-16LE", "convertUniCodeStringToAny(UTF-16LE)", "convertUniCodeStringToAny(UTF-16LE) 失敗"_big5}};
  cBytes converted;
  const auto convert = [&](const char* target, const char* title) {
    if (!convertUniCodeStringToAny(plain, target, &converted)) return false;
    if (logger.isEnabled(kDebug)) logger.writeHex(kDebug.name, title, converted.data(), converted.length());
    return true;
  };
  for (const Encoding& known : kEncodings) {
    if (!equalsIgnoreCase(encoding, known.name)) continue;
    if (!convert(known.name, known.title)) return failed(kTextConversionFailed, known.failure);
    return signBin(converted.data(), converted.length());
  }
  convert(encoding, "convertUniCodeStringToAny(?)");
  logErrorValue("無法支援的編碼格式, encoding"_big5, encoding);
  return kTextConversionFailed;
}

int ZEPASign::signFile(const char* fileName) {
  beginSigning("begin ZEPASign::SignPkcs7File()");
  logValue(kParam, "fileName", fileName == nullptr ? "" : fileName);
  return errorCode_ = trySignFile(fileName);
}

int ZEPASign::trySignFile(const char* fileName) {
  if (const int code = checkText(fileName, "參數 fileName 內容為 NULL"_big5, "參數 fileName 長度為 0"_big5))
    return code;
  cFile file;
  if (!file.loadFromFile(fileName)) {
    logErrorValue("讀取檔案失敗"_big5, fileName);
    return kFileUnreadable;
  }
  return signBin(file.data(), file.length());
}

}  // namespace zepasign
