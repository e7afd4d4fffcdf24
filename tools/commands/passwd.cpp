// zepasign passwd: the encrypted forms of a PFX password. The password itself is never an argument, since every user
// of the machine can see those.
#include "base/cleanse.h"
#include "base/errors.h"
#include "base/propertykeys.h"
#include "pki/cpkcs12.h"
#include "pki/pfxpassword.h"
#include "tools/commands/command_line.h"
#include "tools/commands/password.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct PasswdOptions {
  std::string propertyFile;
  bool stored = false;
};

// obstacle: why no password can be encrypted with this file; empty when nothing is in the way.
std::string obstacle(const PasswdOptions& options, const PropertyText& properties) {
  if (properties.pairs().empty() || !properties.longLines().empty()) return codeText(kPropertyFileUnreadable);
  if (!isPasswordKey(properties.value(keys::kLicense)))
    return tr("PSWD.license is not a valid key: write 64 hexadecimal digits"_m);
  const bool lacksKey = !options.stored && properties.value(keys::kAuthKey).empty();
  return lacksKey ? tr("PSWD.authKey is missing: set it, or use --stored for PFX.pswdB64"_m) : "";
}

int encrypt(const PasswdOptions& options, const PropertyText& properties, const std::string& password,
            std::string& text) {
  if (!options.stored) return makeEnced(options.propertyFile, password, text);
  text = encryptStoredPassword(properties.value(keys::kLicense), password);
  return text.empty() ? kEncryptionFailed : kSuccess;
}

// askPassword: returns what is wrong with the answer; empty when nothing is.
std::string askPassword(std::string& password) {
  switch (readNewSecret(tr("PFX password"_m), tr("PFX password once more"_m), password)) {
    case NewSecret::kEmpty:
      return tr("no password was given"_m);
    case NewSecret::kDiffer:
      return tr("the two passwords differ"_m);
    default:
      return {};
  }
}

// warnIfUseless: a warning only: the PFX that is configured may come later, or lie on another machine.
void warnIfUseless(const PropertyText& properties, const std::string& password) {
  const std::string file = properties.value(keys::kPfxFile);
  if (file.empty()) return;
  const int code = cPkcs12().loadPfxFile(properties.value(keys::kPfxPath).c_str(), file.c_str(), password.c_str());
  if (code != kSuccess)
    printError(tr("warning: the password does not open {0}: {1}"_m, {toUtf8(file), codeText(code)}));
}

int runPasswd(const PasswdOptions& options) {
  const auto refuse = [&options](const std::string& why) {
    printError(fromTerminal(options.propertyFile) + ": " + why);
    return kFailed;
  };
  std::string bytes;
  static_cast<void>(readRegularFile(options.propertyFile, bytes));
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  if (const std::string why = obstacle(options, properties); !why.empty()) return refuse(why);
  std::string password;
  const CleanseOnExit wipePassword(password);
  if (const std::string why = askPassword(password); !why.empty()) {
    printError(why);
    return kFailed;
  }
  std::string text;
  if (const int code = encrypt(options, properties, password, text); code != kSuccess) return refuse(codeText(code));
  warnIfUseless(properties, password);
  printLine(text);
  return kOk;
}

}  // namespace

void addPasswd(CommandLine& line) {
  const auto options = std::make_shared<PasswdOptions>();
  const Command command = line.add("passwd", "encrypt a PFX password"_m, [options] { return runPasswd(*options); });
  addPropertyFile(command, options->propertyFile);
  command.add("--stored", options->stored, "the form for PFX.pswdB64 in the property file"_m);
  command.addExamples(
      {{"the text for PFX.pswdB64"_m, "zepasign passwd --stored -c app.properties"},
       {"the text that the program passes at its start"_m, "zepasign passwd -c app.properties > enced.txt"},
       {"the password from a secret store"_m, "read-secret | zepasign passwd --stored -c app.properties"}});
}

}  // namespace zepasign::tools
