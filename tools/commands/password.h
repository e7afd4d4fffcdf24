// The encrypted PFX password that a command hands to ZEPASignInitial.
#ifndef ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
#define ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_

#include <string>

#include "tools/commands/command_line.h"
#include "tools/files/propertyfile.h"

namespace zepasign::tools {

// makeEnced: MakeZEPASignPasswd; its code. For a property file that the library cannot load it returns 1202. After a
// failure the content of `enced` is undefined.
[[nodiscard]] int makeEnced(const std::string& propertyFile, const std::string& password, std::string& enced);

// obtainEnced: what ZEPASignInitial wants beside a property file with PSWD.authKey: from the file that the user names,
// else made from the password that is asked for. Empty without PSWD.authKey. False when there is none to be had. The
// password is asked for only at a terminal. After a failure the reason has been printed.
[[nodiscard]] bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
