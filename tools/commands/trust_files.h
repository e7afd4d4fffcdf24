// What the user trusts, from the files that options name.
#ifndef ZEPASIGN_TOOLS_COMMANDS_TRUST_FILES_H_
#define ZEPASIGN_TOOLS_COMMANDS_TRUST_FILES_H_

#include <string>

#include "tools/files/chain_check.h"

namespace zepasign::tools {

// readAuthorities, readCrls: adds what the file or directory holds. False, after an error message, when it holds
// nothing of the kind. An option that was not given, an empty path, adds nothing.
[[nodiscard]] bool readAuthorities(const std::string& path, Trust& trust);
[[nodiscard]] bool readCrls(const std::string& path, Trust& trust);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_TRUST_FILES_H_
