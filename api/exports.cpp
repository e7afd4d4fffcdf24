// The seventeen exported functions: each forwards to the signer. No exception leaves here, since hosts in other
// languages cannot catch one, and the crypto library's state in the host's thread is as it was when a function returns.
#include <new>

#include "api/ZEPASignDLL.h"
#include "api/exceptioncode.h"
#include "api/zepasign.h"
#include "base/cchars.h"
#include "pki/openssl.h"
#include "pki/pfxpassword.h"

namespace {

using zepasign::cX509;
using zepasign::signer;

// guarded: runs one export's body; what it throws becomes the signer's error code.
template <class Body>
int guarded(Body body) noexcept {
  const zepasign::CryptoScope scope;
  try {
    if (!scope.isOpen()) throw std::bad_alloc();
    body();
  } catch (...) {
    signer.setErrorCode(zepasign::codeOfException());
  }
  return signer.errorCode();
}

// queried: runs a query, which leaves the error code alone; null when there is no memory for its text.
template <class Query>
char* queried(Query query) noexcept {
  const zepasign::CryptoScope scope;
  try {
    if (!scope.isOpen()) throw std::bad_alloc();
    return query();
  } catch (...) {
    return nullptr;
  }
}

char* queriedField(std::string (cX509::*field)() const) noexcept {
  return queried(
      [field] { return signer.queryCert([field](const cX509& certificate) { return (certificate.*field)(); }); });
}

std::string certificateBase64(const cX509& certificate) {
  unsigned char* der = nullptr;
  const int length = i2d_X509(certificate.get0(), &der);
  const zepasign::OpenSslBytesPtr owned(der);
  zepasign::cChars text;
  if (!text.base64Encode(der, length)) throw std::bad_alloc();
  return text.data();
}

char kVersion[] = "2.0.1.2";

}  // namespace

char* GetPkiVersion() { return kVersion; }

int GetErrorCode() { return signer.errorCode(); }

char* GetErrorMsg() {
  static char noMemory[] = "";
  try {
    return signer.errorMessage();
  } catch (...) {
    return noMemory;
  }
}

int MakeZEPASignPasswd(const char* outBuf, int* outLen, const char* propertyFile, const char* passwd) {
  const zepasign::CryptoScope scope;
  try {
    if (!scope.isOpen()) throw std::bad_alloc();
    // The text is written although the parameter is declared const: that is how hosts know the function.
    return zepasign::makeEncedPfxPasswd(const_cast<char*>(outBuf), outLen, propertyFile, passwd);
  } catch (...) {
    return zepasign::codeOfException();
  }
}

bool ZEPASignInitial(const char* propertyFile, const char* encedPfxPasswd) {
  return guarded([=] { signer.initial(propertyFile, encedPfxPasswd); }) == zepasign::kSuccess;
}

int SignPkcs7(const char* text, const char* encoding) {
  return guarded([=] { signer.signText(text, encoding); });
}

int SignPkcs7Bin(unsigned char* data, int dataLen) {
  return guarded([=] { signer.signBin(data, dataLen); });
}

int SignPkcs7File(const char* fileName) {
  return guarded([=] { signer.signFile(fileName); });
}

char* GetSignedPkcs7() { return signer.signedPkcs7(); }

char* GetSignerCertB64() {
  return queried([] { return signer.queryCert(certificateBase64); });
}

char* GetSignerCertSubjectCN() { return queriedField(&cX509::getSubjectCN); }
char* GetSignerCertSubject() { return queriedField(&cX509::getSubjectOneLine); }
char* GetSignerCertIssuer() { return queriedField(&cX509::getIssuerOneLine); }
char* GetSignerCertNotBefore() { return queriedField(&cX509::getNotBefore); }
char* GetSignerCertNotAfter() { return queriedField(&cX509::getNotAfter); }
char* GetSignerCertSerial() { return queriedField(&cX509::getSerial); }
char* GetSignerCertFinger() { return queriedField(&cX509::getFingerprint); }
