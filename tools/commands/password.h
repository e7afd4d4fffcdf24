// The encrypted forms of the PFX password, made and read as the library does.
#ifndef ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
#define ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_

#include <string>

#include "tools/commands/command_line.h"
#include "tools/files/propertyfile.h"

namespace zepasign::tools {

enum class Secret { kOk, kNoKey, kWrong };

// isKey: whether the text can be PSWD.license.
[[nodiscard]] bool isKey(const std::string& license);
// encryptStored: the PFX.pswdB64 form of a password; empty when that has more than 511 bytes or PSWD.license is no
// key.
[[nodiscard]] std::string encryptStored(const std::string& license, const std::string& password);
// decryptStored, decryptCallers: the password of PFX.pswdB64, and of the text that MakeZEPASignPasswd makes.
[[nodiscard]] Secret decryptStored(const std::string& license, const std::string& text, std::string& password);
[[nodiscard]] Secret decryptCallers(const std::string& license, const std::string& authKey, const std::string& text,
                                    std::string& password);

// makeEnced: MakeZEPASignPasswd; its code.
[[nodiscard]] int makeEnced(const std::string& propertyFile, const std::string& password, std::string& enced);

// obtainEnced: what ZEPASignInitial wants beside a property file with PSWD.authKey: from the file that the user names,
// else made from the password that is asked for. Empty without PSWD.authKey. False when there is none to be had.
[[nodiscard]] bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_PASSWORD_H_
