// What `zepasign --version` prints.
#ifndef ZEPASIGN_TOOLS_COMMANDS_VERSION_H_
#define ZEPASIGN_TOOLS_COMMANDS_VERSION_H_

#include <string>

namespace zepasign::tools {

// versionText: the version of the interface; the build (what git describes, or the release of a source without its
// history); the crypto library in use; and whether PFX files of older software open, for which it needs its legacy
// provider. Lines in the terminal's encoding. REQUIRES: a CryptoScope.
[[nodiscard]] std::string versionText();

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_VERSION_H_
