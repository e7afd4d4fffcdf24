#include "tools/commands/password.h"

#include "api/ZEPASignDLL.h"
#include "base/cleanse.h"
#include "base/errors.h"
#include "base/propertykeys.h"
#include "pki/pfxpassword.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {

int makeEnced(const std::string& propertyFile, const std::string& password, std::string& enced) {
  int length = -1;
  const int code = MakeZEPASignPasswd(nullptr, &length, propertyFile.c_str(), password.c_str());
  if (code != kSuccess) return code;
  if (length < 0) return kPropertyFileUnreadable;  // the library says nothing then
  enced.assign(static_cast<std::size_t>(length), '\0');
  return MakeZEPASignPasswd(enced.data(), &length, propertyFile.c_str(), password.c_str());
}

bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced) {
  if (properties.value(keys::kAuthKey).empty()) return true;
  if (!options.encedFile.empty()) {
    const bool isRead = readFirstLine(options.encedFile, enced);
    if (!isRead) printError(tr("{0}: cannot be read"_m, {fromTerminal(options.encedFile)}));
    return isRead;
  }
  std::string password;
  password.reserve(kMaxPasswordLength);
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
