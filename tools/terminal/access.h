// Who owns a file and who may read it. One whole file per system implements this (access_posix.cpp,
// access_windows.cpp); Windows knows no owners and permission bits of this kind, and says that nothing is wrong.
#ifndef ZEPASIGN_TOOLS_TERMINAL_ACCESS_H_
#define ZEPASIGN_TOOLS_TERMINAL_ACCESS_H_

#include <string>

namespace zepasign::tools {

// FileAccess: what this account can do with a path: kForbidden also when a directory above may not be searched,
// kIrregular for a directory, a device or a pipe.
enum class FileAccess { kReadable, kMissing, kForbidden, kIrregular };
[[nodiscard]] FileAccess fileAccess(const std::string& path);
// directoryAccess: the same for a directory whose entries are to be listed.
[[nodiscard]] FileAccess directoryAccess(const std::string& path);

// isOpenToOthers: whether the permissions let accounts other than the owner write a file, or accounts outside its
// group read it. False for a file that is missing.
[[nodiscard]] bool isOpenToOthers(const std::string& path);

// ownerOf: the name of the account to which a path belongs; empty when it is missing or the system does not tell.
[[nodiscard]] std::string ownerOf(const std::string& path);
// accountName: of the account under which this process runs; empty when the system does not tell.
[[nodiscard]] std::string accountName();

// giveToOwnerOf: gives a file or directory to the account and group to which `model` belongs, which only root can do.
void giveToOwnerOf(const std::string& model, const std::string& path);

// isForeignPath: whether a path can only be meant for another system: on POSIX one with a backslash or a drive.
[[nodiscard]] bool isForeignPath(const std::string& path);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_ACCESS_H_
