// The enciphered forms of the PFX password, made and read as the library does.
#ifndef ZEPASIGN_TOOLS_SECRET_H_
#define ZEPASIGN_TOOLS_SECRET_H_

#include <string>

#include "tools/commands.h"
#include "tools/propertytext.h"

namespace zepasign::tools {

enum class Secret { kGood, kNoKey, kWrong };

// isKey: whether the text can be PSWD.license.
[[nodiscard]] bool isKey(const std::string& license);
// encipherStored: the PFX.pswdB64 form of a password; empty when that has more than 511 bytes or PSWD.license is no
// key.
[[nodiscard]] std::string encipherStored(const std::string& license, const std::string& password);
// decipherStored, decipherCallers: the password of PFX.pswdB64, and of the text that MakeZEPASignPasswd makes.
[[nodiscard]] Secret decipherStored(const std::string& license, const std::string& text, std::string& password);
[[nodiscard]] Secret decipherCallers(const std::string& license, const std::string& authKey, const std::string& text,
                                     std::string& password);

// makeEnced: MakeZEPASignPasswd; its code.
[[nodiscard]] int makeEnced(const std::string& propertyFile, const std::string& password, std::string& enced);

// obtainEnced: what ZEPASignInitial wants beside a property file with PSWD.authKey: from the file that the user names,
// else made from the password that is asked for. Empty without PSWD.authKey. False when there is none to be had.
[[nodiscard]] bool obtainEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_SECRET_H_
