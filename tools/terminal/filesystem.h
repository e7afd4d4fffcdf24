// What the command line asks of the file system beyond the library's own platform interface; one whole file per system
// implements it (filesystem_posix.cpp, filesystem_windows.cpp). Paths are bytes in the encoding of the terminal and are
// passed on as they are. Any thread may call these functions.
#ifndef ZEPASIGN_TOOLS_TERMINAL_FILESYSTEM_H_
#define ZEPASIGN_TOOLS_TERMINAL_FILESYSTEM_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "base/platform.h"

namespace zepasign::tools {

// FileStatus: what a path leads to once all symbolic links are followed. Two paths with the same device and inode lead
// to one file, be it by a link or under a second name. `modified` counts nanoseconds from a fixed moment.
struct FileStatus {
  enum class Kind { kMissing, kRegular, kDirectory, kOther };
  Kind kind = Kind::kMissing;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t modified = 0;

  [[nodiscard]] bool isRegular() const noexcept { return kind == Kind::kRegular; }
  [[nodiscard]] bool isDirectory() const noexcept { return kind == Kind::kDirectory; }
  [[nodiscard]] bool isSameFile(const FileStatus& other) const noexcept {
    return kind != Kind::kMissing && device == other.device && inode == other.inode;
  }
};

// statusOf: kMissing also when the path cannot be reached.
[[nodiscard]] FileStatus statusOf(const std::string& path);
[[nodiscard]] inline bool isDirectory(const std::string& path) { return statusOf(path).isDirectory(); }
// isLink: whether the path itself is a symbolic link.
[[nodiscard]] bool isLink(const std::string& path);

// isAbsolute: whether the path names the same place wherever the program is started.
[[nodiscard]] bool isAbsolute(const std::string& path);
// fileNameOf: what stands behind the last separator of the path.
[[nodiscard]] std::string fileNameOf(const std::string& path);
// canonicalPath: the same text for all paths that name one entry of one directory, which may be missing. A symbolic
// link as the last part is not followed.
[[nodiscard]] std::string canonicalPath(const std::string& path);
// descriptorOf: the number of the descriptor of this process that the path names (/dev/stdout, /proc/self/fd/3, the
// path that a shell gives for a process substitution); -1 when it names none.
[[nodiscard]] int descriptorOf(const std::string& path);

// openTemporary: a new file in the directory for temporary files, to read and write, which ends with the stream and
// which no one else can open; null when it cannot be made.
[[nodiscard]] platform::FilePtr openTemporary();

// kTempSuffix: what follows the name of a file in the name of its temporary file, possibly with a number behind it.
inline constexpr std::string_view kTempSuffix = ".zepasign-part";

// writeFileAt: the one way in which the program changes files. False when it fails; a regular file is then as it was.
//
// - A device, a pipe or an open descriptor is written into. Opening a named pipe waits for a reader.
// - A regular file is replaced in one step: the bytes go to a temporary file in the same directory, which is renamed.
//   It keeps its permissions and, where the system allows it, its owner and group; access control lists are lost. A
//   file that may not be written is not replaced either. A new one is readable by its owner alone if `isPrivate`.
// - Of a symbolic link, the file that it leads to is replaced or made; the link stays.
// - Two runs that write one file at once have a temporary file each, and the last one wins. That of a run that was
//   killed is removed by the next one that writes the same file.
// - Nothing is forced to the disk (fsync): that would cost more time than signing, and what a power failure damages
//   can be signed again. The system orders data before the rename on its own where it can.
[[nodiscard]] bool writeFileAt(const std::string& path, std::string_view bytes, bool isPrivate);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_FILESYSTEM_H_
