#include "api/pfxpassword.h"

#include <algorithm>
#include <cstring>

#include "base/big5.h"
#include "base/caescipher.h"
#include "base/cchars.h"
#include "base/cleanse.h"
#include "base/cproperty.h"
#include "base/failure.h"
#include "base/text.h"
#include "pki/cx509.h"

namespace zepasign {
namespace {

constexpr int kAreaSize = 512;
using PasswordArea = SecretArea<kAreaSize>;

// SecretBytes: a byte buffer that is wiped.
class SecretBytes final : public cBytes {
 public:
  SecretBytes() { markSecret(); }

  // keyOrNull: the first 32 bytes for the cipher; null when there are fewer, which is no key.
  [[nodiscard]] const unsigned char* keyOrNull() const { return length() < cAesCipher::kKeySize ? nullptr : data(); }
};

// setUpCallersCipher: the cipher of the caller's form; false without a key.
bool setUpCallersCipher(cAesCipher& cipher, const std::string& license, const std::string& authKey) {
  SecretBytes key;
  SecretBytes authKeyBytes;
  SecretBytes vector;
  static_cast<void>(key.setFromHex(license.c_str()));
  authKeyBytes.set(authKey.data(), static_cast<int>(authKey.size()));
  std::string digest = sha256Hex(authKeyBytes);
  const CleanseOnExit wipe(digest);
  return vector.setFromHex(digest.c_str()) && cipher.setKey(key.keyOrNull(), vector.data());
}

// setUpStoredCipher: the cipher of PFX.pswdB64, whose key is its vector too, on purpose.
bool setUpStoredCipher(cAesCipher& cipher, const std::string& license) {
  SecretBytes key;
  return key.setFromHex(license.c_str()) && cipher.setKey(key.keyOrNull(), key.keyOrNull());
}

// decrypt: the password up to its first zero byte; false when it does not decrypt or is longer than the area.
bool decrypt(const cAesCipher& cipher, const cBytes& encoded, std::string& password) {
  PasswordArea area;
  int capacity = kAreaSize;
  if (encoded.length() > kAreaSize) return false;
  if (cipher.decrypt(encoded.data(), encoded.length(), area.data(), &capacity) != 0) return false;
  const unsigned char* end = std::find(area.data(), area.data() + kAreaSize, 0);
  password.assign(reinterpret_cast<const char*>(area.data()), static_cast<std::size_t>(end - area.data()));
  return true;
}

int resolveCallersForm(const std::string& license, const std::string& authKey, const char* encedPfxPasswd,
                       std::string& password) {
  if (isEmpty(encedPfxPasswd)) return failed(kWrongParameter, "參數 encedPfxPasswd 內容錯誤!"_big5);
  SecretBytes encoded;
  if (!encoded.base64Decode(encedPfxPasswd)) {
    return failed(kWrongParameter, "encedPfxPasswd 內容解碼(Base64)失敗"_big5);
  }
  static constexpr const char* kNotDecrypted = "encedPfxPasswd 內容解密失敗"_big5;  // one text for two codes
  cAesCipher cipher;
  if (!setUpCallersCipher(cipher, license, authKey)) return failed(kPasswordOrKeyWrong, kNotDecrypted);
  if (!decrypt(cipher, encoded, password)) return failed(kWrongParameter, kNotDecrypted);
  return kSuccess;
}

int resolveStoredForm(const cProperty& property, const std::string& license, std::string& password) {
  std::string stored = property.getProperty("PFX.pswdB64");
  const CleanseOnExit wipe(stored);
  if (stored.empty()) return failed(kWrongParameter, "找不到 PFX.pswdB64"_big5);
  SecretBytes encoded;
  if (!encoded.base64Decode(stored.c_str())) return failed(kWrongParameter, "PFX.pswdB64 內容解碼失敗"_big5);
  cAesCipher cipher;
  if (!setUpStoredCipher(cipher, license)) {
    return failed(kWrongParameter, "PFX.pswdB64 內容解密, 初始化失敗"_big5);
  }
  if (!decrypt(cipher, encoded, password)) return failed(kWrongParameter, "PFX.pswdB64 內容解密"_big5);
  return kSuccess;
}

// handOver: the text to a caller's area that may be too small or, to ask for the length, null. The terminating zero
// comes only from the clearing, so a capacity equal to the length gives an unterminated text.
int handOver(const cChars& text, char* outBuf, int* outLen) {
  if (outBuf != nullptr) {
    if (*outLen > 0) std::memset(outBuf, 0, static_cast<std::size_t>(*outLen));
    if (*outLen < text.length()) {
      *outLen = text.length();
      return kBufferTooSmall;
    }
    std::memcpy(outBuf, text.data(), static_cast<std::size_t>(text.length()));
  }
  *outLen = text.length();
  return kSuccess;
}

}  // namespace

int resolvePfxPassword(const cProperty& property, const std::string& license, const char* encedPfxPasswd,
                       std::string& password) {
  std::string authKey = property.getProperty("PSWD.authKey");
  const CleanseOnExit wipe(authKey);
  if (!authKey.empty()) return resolveCallersForm(license, authKey, encedPfxPasswd, password);
  std::string plain = property.getProperty("PFX.pswd");
  const CleanseOnExit wipePlain(plain);
  if (!plain.empty()) {
    password.assign(plain);  // a copy: moving a short text would leave its bytes behind
    return kSuccess;
  }
  logText(kWarn, "找不到 PFX.pswd 續找 PFX.pswdB64"_big5);
  return resolveStoredForm(property, license, password);
}

int makeEncedPfxPasswd(char* outBuf, int* outLen, const char* propertyFile, const char* passwd) {
  if (isEmpty(propertyFile)) return failed(kPropertyFileUnreadable, "參數 propertyFile 為 NULL"_big5);
  cProperty property;
  if (!property.loadFromFile(propertyFile)) return kSuccess;  // hosts know this 0 with nothing written; leave it
  std::string license = property.getProperty("PSWD.license");
  const CleanseOnExit wipeLicense(license);
  if (license.empty()) return failed(kWrongParameter, "找不到 PSWD.license"_big5);
  std::string authKey = property.getProperty("PSWD.authKey");
  const CleanseOnExit wipeAuthKey(authKey);
  if (authKey.empty()) return failed(kWrongParameter, "找不到 PSWD.authKey"_big5);
  if (isEmpty(passwd)) return failed(kWrongParameter, "passwd 參數錯誤"_big5);
  if (outLen == nullptr) return kWrongParameter;

  cAesCipher cipher;
  if (!setUpCallersCipher(cipher, license, authKey)) {
    return failed(kPasswordOrKeyWrong, "PFX.pswdB64 內容解碼失敗"_big5);  // the stored form's text, on purpose
  }
  PasswordArea area;
  int length = kAreaSize;
  const std::size_t passwordLength = std::min<std::size_t>(std::strlen(passwd), kAreaSize);
  if (cipher.encrypt(reinterpret_cast<const unsigned char*>(passwd), static_cast<int>(passwordLength), area.data(),
                     &length) != 0) {
    return failed(kEncryptionFailed, "加密失敗"_big5);
  }
  cChars text;
  static_cast<void>(text.base64Encode(area.data(), length));
  return handOver(text, outBuf, outLen);
}

}  // namespace zepasign
