// zepasign passwd: the enciphered forms of a PFX password. The password itself is never an argument, since every user
// of the machine can see those.
#include "base/cleanse.h"
#include "base/errors.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/messages.h"
#include "tools/output.h"
#include "tools/secret.h"

namespace zepasign::tools {
namespace {

int makeStored(const std::string& propertyFile, const std::string& password, std::string& text) {
  std::string bytes;
  const bool isRead = readAll(propertyFile, bytes);
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  if (!isRead || properties.pairs().empty() || !properties.longLines().empty()) return kPropertyFileUnreadable;
  if (properties.value("PSWD.license").empty()) return kWrongParameter;
  text = encipherStored(properties.value("PSWD.license"), password);
  return text.empty() ? kPasswordOrKeyWrong : kSuccess;
}

}  // namespace

int runPasswd(const PasswdOptions& options) {
  std::string password;
  std::string text;
  if (!readSecret(say("PFX password"_m), password)) {
    complain(say("no password was given"_m));
    return kFailed;
  }
  const CleanseOnExit wipe(password);
  const int code = options.stored ? makeStored(options.propertyFile, password, text)
                                  : makeEnced(options.propertyFile, password, text);
  if (code != kSuccess) {
    complain(fromTerminal(options.propertyFile) + ": " + sayCode(code));
    return kFailed;
  }
  printLine(text);
  return kGood;
}

}  // namespace zepasign::tools
