// Initialisation: the steps in the order in which the property file's settings take effect. A setting overwrites the
// signer's field as it is read, so a failing call may leave some fields changed; the credential changes only on
// success.
#include <memory>
#include <stdexcept>

#include "api/zepasign.h"
#include "base/big5.h"
#include "base/cleanse.h"
#include "base/cproperty.h"
#include "base/failure.h"
#include "base/propertykeys.h"
#include "base/text.h"
#include "pki/pfxpassword.h"

namespace zepasign {

int ZEPASign::initial(const char* propertyFile, const char* encedPfxPasswd) {
  logText(kInfo, "");
  errorCode_ = kSuccess;
  return errorCode_ = configure(propertyFile, encedPfxPasswd);
}

int ZEPASign::configure(const char* propertyFile, const char* encedPfxPasswd) {
  if (propertyFile == nullptr) return failed(kPropertyFileUnreadable, "參數 propertyFile 為 NULL"_big5);
  if (*propertyFile == '\0') return failed(kPropertyFileUnreadable, "參數 propertyFile 為 空值"_big5);
  cProperty property;
  if (!property.loadFromFile(propertyFile)) return failed(kPropertyFileUnreadable, "property 檔讀取失敗"_big5);
  readLogSettings(property);
  if (certChainList.isEmpty()) certChainList.loadCertChainFiles(&property);
  if (const int code = readSigningOptions(property)) return code;

  const std::string directory = property.getProperty(keys::kPfxPath);
  const std::string file = property.getProperty(keys::kPfxFile);
  std::string password;
  const CleanseOnExit wipePassword(password);
  if (const int code = resolvePfxPassword(property, encedPfxPasswd, password)) return code;
  const int code = loadPfx(directory, file, password.c_str());
  logText(kInfo, "end ZEPASign::ZEPASign()");
  return code;
}

void ZEPASign::readLogSettings(const cProperty& property) {
  logger.setLevel(property.getProperty(keys::kLogLevel).c_str());
  const std::string directory = property.getProperty(keys::kLogPath);
  const std::string file = property.getProperty(keys::kLogFile);
  logger.setEncoding(property.getProperty(keys::kLogEncoding).c_str());
  logger.setLogFile(directory.c_str(), file.c_str());
}

int ZEPASign::readSigningOptions(const cProperty& property) {
  if (const std::string digest = property.getProperty(keys::kDigest); !digest.empty()) digestName_.assign(digest);
  try {
    addCertMode_ = property.getPropertyInt(keys::kAddCert);
  } catch (const std::logic_error& noNumber) {
    return failed(kWrongParameter, noNumber.what());
  }
  addTimestamp_ = property.getPropertyBool(keys::kAddTimestamp);
  addPlainText_ = property.getPropertyBool(keys::kAddPlainText);
  if (const std::string filter = property.getProperty(keys::kSignerFilter); !filter.empty()) {
    signerFilter_.assign(filter);
  }
  return kSuccess;
}

int ZEPASign::loadPfx(const std::string& directory, const std::string& file, const char* password) {
  auto credential = std::make_unique<cPkcs12>();
  const int code = credential->loadPfxFile(directory.c_str(), file.c_str(), password);
  if (code != kSuccess) return failed(code, "讀取 pfx 檔失敗, 密碼錯誤"_big5);
  if (pkcs12_) replaced_.push_back(std::move(pkcs12_));
  pkcs12_ = std::move(credential);
  return kSuccess;
}

}  // namespace zepasign
