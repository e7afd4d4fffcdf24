// Paths of the file system.
#ifndef ZEPASIGN_TOOLS_FILES_PATHS_H_
#define ZEPASIGN_TOOLS_FILES_PATHS_H_

#include <string>
#include <vector>

namespace zepasign::tools {

// missingParts: the path and the directories above it that do not exist, the topmost first; empty when the path exists.
[[nodiscard]] std::vector<std::string> missingParts(const std::string& path);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_PATHS_H_
