// Paths of the file system.
#ifndef ZEPASIGN_TOOLS_FILES_PATHS_H_
#define ZEPASIGN_TOOLS_FILES_PATHS_H_

#include <string>
#include <vector>

namespace zepasign::tools {

// missingParts: the path and the directories above it that do not exist, the topmost first; empty when the path exists.
// The path may be relative. It is normalized as text first: "." and ".." are resolved without regard to symbolic links.
// What is below a directory that may not be searched counts as missing. Nothing is created or changed. Callers name the
// topmost missing directory in a message, or remove afterwards what has appeared since.
[[nodiscard]] std::vector<std::string> missingParts(const std::string& path);

// filesAt: the path itself, or the regular files in the directory that it names: opening a pipe there would wait for
// its other end.
[[nodiscard]] std::vector<std::string> filesAt(const std::string& path);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_PATHS_H_
