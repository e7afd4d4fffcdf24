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

// obtainEnced: the encrypted password that ZEPASignInitial needs with a property file that has PSWD.authKey: from the
// file that the user names, otherwise made from the password, which is asked for at a terminal. Empty without
// PSWD.authKey. False when there is no password; then the reason has been printed.
[[nodiscard]] bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
