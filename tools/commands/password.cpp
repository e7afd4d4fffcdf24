#include "tools/commands/password.h"

#include <algorithm>

#include "api/ZEPASignDLL.h"
#include "base/caescipher.h"
#include "base/cchars.h"
#include "base/cleanse.h"
#include "base/errors.h"
#include "pki/cx509.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

constexpr int kAreaSize = 512;

const unsigned char* bytesOf(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// KeyBytes: the bytes of a hexadecimal text, wiped; a key when there are enough of them.
struct KeyBytes : cBytes {
  explicit KeyBytes(const std::string& hex) {
    markSecret();
    isKey = setFromHex(hex.c_str()) && length() >= cAesCipher::kKeySize;
  }
  bool isKey;
};

Secret decrypt(const KeyBytes& key, const KeyBytes& vector, const std::string& text, std::string& password) {
  cAesCipher cipher;
  cBytes encoded;
  SecretArea<kAreaSize> area;
  int capacity = kAreaSize;
  if (!key.isKey || !cipher.setKey(key.data(), vector.data())) return Secret::kNoKey;
  if (!encoded.base64Decode(text.c_str()) || encoded.length() > kAreaSize ||
      cipher.decrypt(encoded.data(), encoded.length(), area.data(), &capacity) != 0) {
    return Secret::kWrong;
  }
  const unsigned char* end = std::find(area.data(), area.data() + kAreaSize, 0);
  password.assign(reinterpret_cast<const char*>(area.data()), static_cast<std::size_t>(end - area.data()));
  return password.empty() ? Secret::kWrong : Secret::kOk;
}

}  // namespace

bool isKey(const std::string& license) { return KeyBytes(license).isKey; }

std::string encryptStored(const std::string& license, const std::string& password) {
  const KeyBytes key(license);
  cAesCipher cipher;
  SecretArea<kAreaSize> area;
  int length = kAreaSize;
  cChars text;
  if (!key.isKey || !cipher.setKey(key.data(), key.data()) || password.size() >= kAreaSize ||
      cipher.encrypt(bytesOf(password), static_cast<int>(password.size()), area.data(), &length) != 0 ||
      !text.base64Encode(area.data(), length)) {
    return {};
  }
  return text.data();
}

Secret decryptStored(const std::string& license, const std::string& text, std::string& password) {
  const KeyBytes key(license);
  return decrypt(key, key, text, password);
}

Secret decryptCallers(const std::string& license, const std::string& authKey, const std::string& text,
                      std::string& password) {
  cBytes authBytes;
  authBytes.markSecret();
  if (!authBytes.set(authKey.data(), static_cast<int>(authKey.size()))) return Secret::kNoKey;
  return decrypt(KeyBytes(license), KeyBytes(sha256Hex(authBytes)), text, password);
}

int makeEnced(const std::string& propertyFile, const std::string& password, std::string& enced) {
  int length = -1;
  const int code = MakeZEPASignPasswd(nullptr, &length, propertyFile.c_str(), password.c_str());
  if (code != kSuccess) return code;
  if (length < 0) return kPropertyFileUnreadable;  // the library says nothing then
  enced.assign(static_cast<std::size_t>(length), '\0');
  return MakeZEPASignPasswd(enced.data(), &length, propertyFile.c_str(), password.c_str());
}

bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced) {
  if (properties.value("PSWD.authKey").empty()) return true;
  if (!options.encedFile.empty()) {
    const bool isRead = readAll(options.encedFile, enced);
    enced.resize(std::min(enced.find_first_of("\r\n"), enced.size()));
    if (!isRead || enced.empty()) printError(tr("{0}: cannot be read"_m, {fromTerminal(options.encedFile)}));
    return isRead && !enced.empty();
  }
  std::string password;
  password.reserve(kAreaSize);
  const CleanseOnExit wipe(password);
  if (!isTerminal(stdin) || !readSecret(tr("PFX password"_m), password)) {
    printError(tr("the property file has PSWD.authKey: give the encrypted password with --enced-file"_m));
    return false;
  }
  const int code = makeEnced(options.propertyFile, password, enced);
  if (code != kSuccess) printError(codeText(code));
  return code == kSuccess;
}

}  // namespace zepasign::tools
