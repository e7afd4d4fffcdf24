// The seventeen exported functions: each forwards to the signer. No exception leaves here, since hosts in other
// languages cannot catch one, and the crypto library's state in the host's thread is as it was when a function returns.
#include "api/ZEPASignDLL.h"
#include "api/zepasign.h"
#include "base/cchars.h"
#include "base/failure.h"
#include "pki/openssl.h"
#include "pki/pfxpassword.h"

namespace {

using zepasign::cX509;
using zepasign::signer;

// guarded: runs an export's body with the library's crypto context; `onFailure` turns the error code of what was thrown
// into the export's result.
template <class Body, class OnFailure>
auto guarded(Body body, OnFailure onFailure) noexcept {
  if (!zepasign::prepareToThrow()) return onFailure(zepasign::kOutOfMemory);
  try {
    const zepasign::CryptoScope scope;
    return body();
  } catch (...) {
    return onFailure(zepasign::codeOfException());
  }
}

int failedInitial(int code) noexcept { return signer.failInitial(code); }
int failedSigning(int code) noexcept { return signer.failSigning(code); }

// queried: a text about the certificate that signed; null when there is none or no memory for it.
template <class Field>
char* queried(Field field) noexcept {
  return guarded([field] { return signer.queryCert(field); }, [](int /*code*/) -> char* { return nullptr; });
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

// GetErrorMsg: needs no crypto context, so it also answers when there is none. Never null.
char* GetErrorMsg() {
  static char noMemory[] = "";
  if (!zepasign::prepareToThrow()) return noMemory;
  try {
    return signer.errorMessage();
  } catch (...) {
    return noMemory;
  }
}

// MakeZEPASignPasswd: writes to outBuf although the parameter is const, which callers' declarations depend on.
int MakeZEPASignPasswd(const char* outBuf, int* outLen, const char* propertyFile, const char* passwd) {
  if (outLen == nullptr) return zepasign::kWrongParameter;
  return guarded([=] { return zepasign::makeEncedPfxPasswd(const_cast<char*>(outBuf), outLen, propertyFile, passwd); },
                 [](int code) { return code; });
}

bool ZEPASignInitial(const char* propertyFile, const char* encedPfxPasswd) {
  return guarded([=] { return signer.initial(propertyFile, encedPfxPasswd); }, failedInitial) == zepasign::kSuccess;
}

int SignPkcs7(const char* text, const char* encoding) {
  return guarded([=] { return signer.signText(text, encoding); }, failedSigning);
}

int SignPkcs7Bin(unsigned char* data, int dataLen) {
  return guarded([=] { return signer.signBin(data, dataLen); }, failedSigning);
}

int SignPkcs7File(const char* fileName) {
  return guarded([=] { return signer.signFile(fileName); }, failedSigning);
}

char* GetSignedPkcs7() { return signer.signedPkcs7(); }

char* GetSignerCertB64() { return queried(certificateBase64); }
char* GetSignerCertSubjectCN() { return queried(&cX509::getSubjectCN); }
char* GetSignerCertSubject() { return queried(&cX509::getSubjectOneLine); }
char* GetSignerCertIssuer() { return queried(&cX509::getIssuerOneLine); }
char* GetSignerCertNotBefore() { return queried(&cX509::getNotBefore); }
char* GetSignerCertNotAfter() { return queried(&cX509::getNotAfter); }
char* GetSignerCertSerial() { return queried(&cX509::getSerial); }
char* GetSignerCertFinger() { return queried(&cX509::getFingerprint); }
