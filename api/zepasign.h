// ZEPASign: the one signer of the process, behind all seventeen exports.
//
// It is constant-initialised: its fields hold their defaults before any call. Every failing step stores its code in the
// error code and ends the call; the queries leave the code alone.
//
// Thread rule: one thread at a time.
#ifndef ZEPASIGN_API_ZEPASIGN_H_
#define ZEPASIGN_API_ZEPASIGN_H_

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/errors.h"
#include "pki/ccertchainlist.h"
#include "pki/cpkcs12.h"
#include "pki/csigneddata.h"
#include "pki/cx509.h"

namespace zepasign {

class cProperty;

// OwnedText: a C string on the heap that its user frees. It has no destructor on purpose: a host may still read the
// texts while the process ends.
class OwnedText final {
 public:
  [[nodiscard]] char* get() const noexcept { return text_; }
  // adopt: takes a block of std::malloc's kin and frees the previous one.
  void adopt(char* block) noexcept {
    std::free(text_);
    text_ = block;
  }
  void reset() noexcept { adopt(nullptr); }
  // assign: a copy in a zeroed block, a few bytes longer than the text. Throws std::bad_alloc.
  void assign(const std::string& text);

 private:
  char* text_ = nullptr;
};

class ZEPASign {
 public:
  constexpr ZEPASign() = default;
  virtual ~ZEPASign();
  ZEPASign(const ZEPASign&) = delete;
  ZEPASign& operator=(const ZEPASign&) = delete;

  // The operations behind the exports of the same purpose; see ZEPASignDLL.h for their contracts.
  bool initial(const char* propertyFile, const char* encedPfxPasswd);
  int signText(const char* plain, const char* encoding);
  int signBin(const unsigned char* data, int dataLen);
  int signFile(const char* fileName);
  [[nodiscard]] char* signedPkcs7() const noexcept { return signedPkcs7_.get(); }
  [[nodiscard]] int errorCode() const noexcept { return errorCode_; }
  [[nodiscard]] char* errorMessage();
  // setErrorCode: for an export whose operation threw.
  void setErrorCode(int code) noexcept { errorCode_ = code; }

  // queryCert: the text that `field` gives for the certificate of the last successful signature; null before the first.
  template <class Field>
  [[nodiscard]] char* queryCert(Field field) {
    queryResult_.reset();
    if (lastSignerCert_ == nullptr) return nullptr;
    queryResult_.assign(field(cX509(lastSignerCert_)));
    return queryResult_.get();
  }

  // checkValidity, checkKeyUsage: switches that no property sets; both checks are off.
  void setChecks(bool checkValidity, bool checkKeyUsage) noexcept {
    checkValidity_ = checkValidity;
    checkKeyUsage_ = checkKeyUsage;
  }

 private:
  [[nodiscard]] int configure(const char* propertyFile, const char* encedPfxPasswd);
  void readLogSettings(const cProperty& property);
  [[nodiscard]] int readSigningOptions(const cProperty& property);
  [[nodiscard]] int loadPfx(const std::string& folder, const std::string& file, const char* password);

  [[nodiscard]] int trySignBin(const unsigned char* data, int dataLen);
  [[nodiscard]] int checkBeforeSigning() const;
  [[nodiscard]] int makeSignature(cSignedData::Bytes content, STACK_OF(X509) * chain);
  [[nodiscard]] std::vector<X509*> certificatesToAdd(STACK_OF(X509) * chain) const;
  [[nodiscard]] int storeSignature();
  [[nodiscard]] int trySignText(const char* plain, const char* encoding);
  [[nodiscard]] int trySignFile(const char* fileName);

  bool pfxLoaded_ = false;
  OwnedText digestName_;
  OwnedText signerFilter_;
  int addCertMode_ = 1;
  bool addTimestamp_ = false;
  bool addPlainText_ = true;
  cPkcs12* pkcs12_ = nullptr;          // owned; a credential that another one replaces is dropped, not deleted
  cSignedData* signedData_ = nullptr;  // owned; made with the first signature
  bool checkValidity_ = false;
  bool checkKeyUsage_ = false;
  X509* lastSignerCert_ = nullptr;  // borrowed from the credential that made the last signature
  OwnedText signedPkcs7_;
  int errorCode_ = kSuccess;
  OwnedText queryResult_;
};

// The process's signer and its CA chains; see process_state.cpp.
extern ZEPASign signer;
extern cCertChainList certChainList;

}  // namespace zepasign

#endif  // ZEPASIGN_API_ZEPASIGN_H_
