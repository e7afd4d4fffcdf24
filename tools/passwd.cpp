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

// obstacle: why no password can be enciphered with this file; empty when nothing is in the way.
std::string obstacle(const PasswdOptions& options, const PropertyText& properties) {
  if (properties.pairs().empty() || !properties.longLines().empty()) return sayCode(kPropertyFileUnreadable);
  if (!isKey(properties.value("PSWD.license"))) return say("PSWD.license is no key: write 64 hexadecimal digits"_m);
  const bool lacksKey = !options.stored && properties.value("PSWD.authKey").empty();
  return lacksKey ? say("PSWD.authKey is missing: set it, or use --stored for PFX.pswdB64"_m) : "";
}

int encipher(const PasswdOptions& options, const PropertyText& properties, const std::string& password,
             std::string& text) {
  if (!options.stored) return makeEnced(options.propertyFile, password, text);
  text = encipherStored(properties.value("PSWD.license"), password);
  return text.empty() ? kEncryptionFailed : kSuccess;
}

}  // namespace

int runPasswd(const PasswdOptions& options) {
  const auto refuse = [&options](const std::string& why) {
    complain(fromTerminal(options.propertyFile) + ": " + why);
    return kFailed;
  };
  std::string bytes;
  static_cast<void>(readOrdinary(options.propertyFile, bytes));
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  if (const std::string why = obstacle(options, properties); !why.empty()) return refuse(why);
  std::string password;
  std::string text;
  if (!readSecret(say("PFX password"_m), password)) {
    complain(say("no password was given"_m));
    return kFailed;
  }
  const CleanseOnExit wipePassword(password);
  if (const int code = encipher(options, properties, password, text); code != kSuccess) return refuse(sayCode(code));
  printLine(text);
  return kGood;
}

}  // namespace zepasign::tools
