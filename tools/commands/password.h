// The encrypted PFX password that a command hands to ZEPASignInitial.
#ifndef ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
#define ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_

#include <string>

#include "tools/commands/command_line.h"
#include "tools/files/propertyfile.h"

namespace zepasign::tools {

// makeEnced: MakeZEPASignPasswd; its code.
[[nodiscard]] int makeEnced(const std::string& propertyFile, const std::string& password, std::string& enced);

// obtainEnced: what ZEPASignInitial wants beside a property file with PSWD.authKey: from the file that the user names,
// else made from the password that is asked for. Empty without PSWD.authKey. False when there is none to be had.
[[nodiscard]] bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
