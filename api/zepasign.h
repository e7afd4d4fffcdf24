// ZEPASign: the one signer of the process, behind all seventeen exports.
//
// It is constant-initialised, so its fields hold their defaults before any call. An initialisation overwrites the
// fields one by one; a signing call leaves its text for GetSignedPkcs7 and remembers the certificate that signed, which
// the queries describe. Every failing step stores its code in the error code and ends the call; the queries leave it
// alone.
//
// How the pieces fit: exports.cpp enters the crypto context and turns exceptions into codes; this class runs the steps;
// cProperty reads the settings, cPkcs12 holds the credential (PKCS #12, RFC 7292), certChainList supplies the CA
// certificates, and cSignedData builds the signature (PKCS #7, RFC 2315).
//
// Thread rule: one thread at a time. Unloading the library, and the end of the process, count as a call.
#ifndef ZEPASIGN_API_ZEPASIGN_H_
#define ZEPASIGN_API_ZEPASIGN_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "api/ownedtext.h"
#include "base/errors.h"
#include "pki/ccertchainlist.h"
#include "pki/cpkcs12.h"
#include "pki/csigneddata.h"
#include "pki/cx509.h"

namespace zepasign {

class cProperty;  // base/cproperty.h: the settings of one property file

class ZEPASign {
 public:
  constexpr ZEPASign() = default;
  // ~ZEPASign: runs when the library is unloaded or the process ends. Only the filter's text is freed; the other texts
  // stay readable, see OwnedText.
  virtual ~ZEPASign() { signerFilter_.reset(); }
  ZEPASign(const ZEPASign&) = delete;
  ZEPASign& operator=(const ZEPASign&) = delete;

  // The operations behind the exports of the same purpose; see ZEPASignDLL.h for their contracts. Each returns the
  // error code that it leaves. `signBin` stores every failure itself; the others may throw.
  //
  // initial: 0 when the credential was loaded. On failure the credential of an earlier call stays usable.
  int initial(const char* propertyFile, const char* encedPfxPasswd);
  // signText: converts the Big5 text `plain` to `encoding`, then signs it through signBin.
  int signText(const char* plain, const char* encoding);
  // signBin: `data` is borrowed during the call and not copied before it is signed; `dataLen` counts bytes.
  int signBin(const unsigned char* data, int dataLen);
  // signFile: loads the whole file into memory, then signs it through signBin.
  int signFile(const char* fileName);
  // signedPkcs7: borrowed, valid until the next signing call begins; null when the last one failed.
  [[nodiscard]] char* signedPkcs7() const noexcept { return signedPkcs7_.get(); }
  // errorCode: of the last initialisation or signing call, 0 before the first one.
  [[nodiscard]] int errorCode() const noexcept { return errorCode_; }
  // errorMessage: borrowed, valid until the next text query. Throws std::bad_alloc.
  [[nodiscard]] char* errorMessage() {
    queryResult_.assign(errorCodeToMessage(errorCode_));
    return queryResult_.get();
  }
  // failInitial, failSigning: what an initialisation or a signing call leaves that could not begin or threw.
  int failInitial(int code) noexcept { return errorCode_ = code; }
  int failSigning(int code) noexcept {
    signedPkcs7_.reset();
    return errorCode_ = code;
  }

  // queryCert: the text that `field`, a function of cX509, gives for the certificate of the last successful signature;
  // borrowed, valid until the next text query. Null before the first signature. Throws std::bad_alloc.
  template <class Field>
  [[nodiscard]] char* queryCert(Field field) {
    queryResult_.reset();
    if (lastSignerCert_ == nullptr) return nullptr;
    queryResult_.assign(std::invoke(field, cX509(lastSignerCert_)));
    return queryResult_.get();
  }

  // setChecks: switches on checks before signing. No property sets them, so they are off in every host.
  void setChecks(bool checkValidity, bool checkKeyUsage) noexcept {
    checkValidity_ = checkValidity;
    checkKeyUsage_ = checkKeyUsage;
  }

 private:
  // Initialisation, in zepasign_initial.cpp: each step returns 0 or the code with which the call ends. loadPfx replaces
  // the credential only on success. The password is wiped by its owner, configure.
  [[nodiscard]] int configure(const char* propertyFile, const char* encedPfxPasswd);
  void readLogSettings(const cProperty& property);
  [[nodiscard]] int readSigningOptions(const cProperty& property);
  [[nodiscard]] int loadPfx(const std::string& directory, const std::string& file, const char* password);

  // Signing, in zepasign_sign.cpp: a step that returns an int returns 0 or the code with which the call ends. The chain
  // is borrowed and may be null. storeSignature sets the text and the signer's certificate, and only after success.
  void beginSigning(const char* beginLine);
  [[nodiscard]] int trySignBin(const unsigned char* data, int dataLen);
  [[nodiscard]] int checkBeforeSigning() const;
  [[nodiscard]] int makeSignature(cSignedData::Bytes content, STACK_OF(X509) * chain);
  [[nodiscard]] std::vector<X509*> certificatesToAdd(STACK_OF(X509) * chain) const;
  void storeSignature();
  [[nodiscard]] int trySignText(const char* plain, const char* encoding);
  [[nodiscard]] int trySignFile(const char* fileName);

  // Settings of the property file, see propertykeys.h, with their values before the first initialisation. A missing
  // PKCS7.digest or PFX.signerFilter keeps the earlier value; without its key addCertMode_ becomes -1, a flag false.
  OwnedText digestName_;    // "SHA1" or "SHA256" signs, any other name does not
  OwnedText signerFilter_;  // null: any signer
  // PKCS7.addCert, addTimestamp and addPlainText. A time stamp is the signing-time attribute of the signer's own clock
  // (RFC 2985, section 5.3.3); without the plain text the signature is detached.
  int addCertMode_ = 1;  // up to 0: no certificate; 1: the signer's; from 2 on: its chain, too
  bool addTimestamp_ = false;
  bool addPlainText_ = true;

  // Credential and signature. pkcs12_: null until an initialisation has loaded a PFX. replaced_: the credentials that
  // later initialisations replaced. They are kept, since the certificate of the last signature may be one of theirs.
  std::vector<std::unique_ptr<cPkcs12>> replaced_;
  std::unique_ptr<cPkcs12> pkcs12_;
  std::unique_ptr<cSignedData> signedData_;  // made with the first signature
  // Checks of the signer's certificate before each signature: its validity period, and its key usage.
  bool checkValidity_ = false;
  bool checkKeyUsage_ = false;
  X509* lastSignerCert_ = nullptr;  // borrowed from the credential that made the last signature
  // What the host asks for after a call.
  OwnedText signedPkcs7_;     // Base64 of the DER; null when the last signing call failed
  int errorCode_ = kSuccess;  // one of the codes of errors.h
  OwnedText queryResult_;     // shared by errorMessage and queryCert
};

// signer, certChainList: the process's signer and its CA chains. Both are defined in process_state.cpp, are usable as
// soon as the library is loaded, and are used by the exports alone. The chains are loaded by the first initialisation
// that finds any and stay until the library is unloaded. The signer is destroyed before the chains, whose certificates
// its signatures may hold; process_state.cpp lists the order of all such objects.
extern ZEPASign signer;
extern cCertChainList certChainList;

}  // namespace zepasign

#endif  // ZEPASIGN_API_ZEPASIGN_H_
