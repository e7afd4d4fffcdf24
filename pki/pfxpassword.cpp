#include "pki/pfxpassword.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/big5.h"
#include "base/caescipher.h"
#include "base/cchars.h"
#include "base/cleanse.h"
#include "base/cproperty.h"
#include "base/failure.h"
#include "base/platform.h"
#include "base/propertykeys.h"
#include "base/text.h"
#include "pki/openssl.h"

namespace zepasign {
namespace {

constexpr int kAreaSize = kMaxPasswordLength + 1;
using PasswordArea = SecretArea<kAreaSize>;

// SecretBytes: a byte buffer that is wiped.
class SecretBytes : public cBytes {
 public:
  SecretBytes() { markSecret(); }
};

// Key: the bytes of PSWD.license.
class Key final : public SecretBytes {
 public:
  explicit Key(const std::string& license) { static_cast<void>(setFromHex(license.c_str())); }

  // get: the 32 bytes for the cipher; null when the license has fewer, which is no key.
  [[nodiscard]] const unsigned char* get() const noexcept { return length() < cAesCipher::kKeySize ? nullptr : data(); }
};

// setUpCallersCipher: the cipher of the caller's form; false without a key.
bool setUpCallersCipher(cAesCipher& cipher, const std::string& license, const std::string& authKey) {
  const Key key(license);
  SecretArea<SHA256_DIGEST_LENGTH> iv;
  // It fails only when memory is short, and does not always say so.
  if (EVP_Digest(authKey.data(), authKey.size(), iv.data(), nullptr, EVP_sha256(), nullptr) != 1)
    throw std::bad_alloc();
  return cipher.setKey(key.get(), iv.data());
}

// setUpStoredCipher: the cipher of the stored form; false without a key.
bool setUpStoredCipher(cAesCipher& cipher, const std::string& license) {
  const Key key(license);
  return cipher.setKey(key.get(), key.get());
}

// encrypt: the password's ciphertext in Base64; false when the password is empty or too long.
bool encrypt(const cAesCipher& cipher, std::string_view password, cChars& text) {
  if (password.size() > kMaxPasswordLength) return false;
  PasswordArea area;
  int length = kAreaSize;
  const auto* bytes = reinterpret_cast<const unsigned char*>(password.data());
  return attempt([&] { return cipher.encrypt(bytes, static_cast<int>(password.size()), area.data(), &length) == 0; }) &&
         text.base64Encode(area.data(), length);
}

// decrypt: the password up to its first zero byte; false when it does not decrypt or is longer than the area.
bool decrypt(const cAesCipher& cipher, const cBytes& encoded, std::string& password) {
  PasswordArea area;
  int capacity = kAreaSize;
  if (encoded.length() > kAreaSize) return false;
  if (!attempt([&] { return cipher.decrypt(encoded.data(), encoded.length(), area.data(), &capacity) == 0; })) {
    return false;
  }
  const unsigned char* end = std::find(area.data(), area.data() + kAreaSize, 0);
  password.assign(reinterpret_cast<const char*>(area.data()), static_cast<std::size_t>(end - area.data()));
  return true;
}

int decryptCallersForm(const std::string& license, const std::string& authKey, const char* encedPfxPasswd,
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

int decryptStoredForm(const std::string& license, const std::string& stored, std::string& password) {
  SecretBytes encoded;
  if (!encoded.base64Decode(stored.c_str())) return failed(kWrongParameter, "PFX.pswdB64 內容解碼失敗"_big5);
  cAesCipher cipher;
  if (!setUpStoredCipher(cipher, license)) {
    return failed(kWrongParameter, "PFX.pswdB64 內容解密, 初始化失敗"_big5);
  }
  if (!decrypt(cipher, encoded, password)) return failed(kWrongParameter, "PFX.pswdB64 內容解密"_big5);
  return kSuccess;
}

// readPasswordFile: the first line of a regular file, without its end. The path is not logged: somebody may have
// written the password there.
int readPasswordFile(const std::string& path, std::string& password) {
  const platform::FilePtr file = platform::openForReading(path.c_str());
  PasswordArea area;
  const std::size_t size = file ? std::fread(area.data(), 1, area.size(), file.get()) : 0;
  const std::string_view text(reinterpret_cast<const char*>(area.data()), size);
  const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
  if (!file || std::ferror(file.get()) != 0 || line.size() > kMaxPasswordLength) {
    return failed(kWrongParameter, "讀取 PFX.pswdFile 失敗"_big5);
  }
  if (line.empty()) return failed(kWrongParameter, "PFX.pswdFile 長度為 0"_big5);
  password.assign(line);
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

PasswordForm findPasswordForm(const cProperty& property, std::string& value) {
  static constexpr struct {
    PasswordForm form;
    const char* key;
  } kOrder[] = {{PasswordForm::kCallers, keys::kAuthKey},
                {PasswordForm::kPlain, keys::kPfxPassword},
                {PasswordForm::kStored, keys::kPfxPasswordB64},
                {PasswordForm::kFile, keys::kPfxPasswordFile}};
  for (const auto& [form, key] : kOrder) {
    if (form == PasswordForm::kStored) logText(kWarn, "找不到 PFX.pswd 續找 PFX.pswdB64"_big5);
    std::string found = property.getProperty(key);
    const CleanseOnExit wipe(found);
    if (found.empty()) continue;
    value.assign(found);  // a copy: moving a short text would leave its bytes behind
    return form;
  }
  return PasswordForm::kNone;
}

int resolvePfxPassword(const cProperty& property, const char* encedPfxPasswd, std::string& password) {
  std::string license = property.getProperty(keys::kLicense);
  const CleanseOnExit wipeLicense(license);
  if (license.empty()) return failed(kWrongParameter, "找不到 PSWD.license"_big5);
  std::string value;
  const CleanseOnExit wipeValue(value);
  switch (findPasswordForm(property, value)) {
    case PasswordForm::kCallers:
      return decryptCallersForm(license, value, encedPfxPasswd, password);
    case PasswordForm::kPlain:
      password.assign(value);
      return kSuccess;
    case PasswordForm::kStored:
      return decryptStoredForm(license, value, password);
    case PasswordForm::kFile:
      return readPasswordFile(value, password);
    default:
      return failed(kWrongParameter, "找不到 PFX.pswdB64"_big5);
  }
}

bool isPasswordKey(const std::string& license) { return Key(license).get() != nullptr; }

std::string encryptStoredPassword(const std::string& license, std::string_view password) {
  cAesCipher cipher;
  cChars text;
  return setUpStoredCipher(cipher, license) && encrypt(cipher, password, text) ? text.data() : "";
}

int makeEncedPfxPasswd(char* outBuf, int* outLen, const char* propertyFile, const char* passwd) {
  if (isEmpty(propertyFile)) return failed(kPropertyFileUnreadable, "參數 propertyFile 為 NULL"_big5);
  cProperty property;
  if (!property.loadFromFile(propertyFile)) return kSuccess;  // callers depend on this 0, with nothing written
  std::string license = property.getProperty(keys::kLicense);
  const CleanseOnExit wipeLicense(license);
  if (license.empty()) return failed(kWrongParameter, "找不到 PSWD.license"_big5);
  std::string authKey = property.getProperty(keys::kAuthKey);
  const CleanseOnExit wipeAuthKey(authKey);
  if (authKey.empty()) return failed(kWrongParameter, "找不到 PSWD.authKey"_big5);
  if (isEmpty(passwd)) return failed(kWrongParameter, "passwd 參數錯誤"_big5);
  cAesCipher cipher;
  if (!setUpCallersCipher(cipher, license, authKey)) {
    return failed(kPasswordOrKeyWrong,
                  "PFX.pswdB64 內容解碼失敗"_big5);  // the stored form's text; callers depend on it
  }
  cChars text;
  if (!encrypt(cipher, passwd, text)) return failed(kEncryptionFailed, "加密失敗"_big5);
  return handOver(text, outBuf, outLen);
}

}  // namespace zepasign
