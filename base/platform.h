// Everything that differs between the systems this library runs on; one whole file per system implements it
// (platform_posix.cpp, platform_windows.cpp). Path texts are byte strings in the process's code page and are passed on
// as they are: the byte 0x5C is also the second byte of many Big5 characters, so no path is ever rewritten.
//
// Thread rule: any thread, except that the text converter belongs to one thread at a time.
#ifndef ZEPASIGN_BASE_PLATFORM_H_
#define ZEPASIGN_BASE_PLATFORM_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zepasign::platform {

// What joins a folder and a file name: a backslash on Windows, "/" elsewhere.
extern const char kFolderSeparator;

// LocalTime: a moment on the machine's own wall clock; `month` and `day` count from 1, `millisecond` is 0 to 999.
struct LocalTime {
  int year;
  int month;
  int day;
  int hour;
  int minute;
  int second;
  int millisecond;
};

// now: the current moment; all zero when the system cannot tell its local time.
[[nodiscard]] LocalTime now() noexcept;

// processId: of the calling process, asked anew at each call since a host may fork.
[[nodiscard]] int processId() noexcept;

// currentFolder: the process's working folder, empty when it cannot be read within 1024 bytes.
[[nodiscard]] std::string currentFolder();

// createFolder: makes one folder (not its parents); true also when something of that name stands there already.
[[nodiscard]] bool createFolder(const char* path) noexcept;

// listFolder: appends the names of all entries (name only, folders included) in the order the system gives them; false
// when the folder cannot be searched. Throws std::bad_alloc.
[[nodiscard]] bool listFolder(const std::string& folder, std::vector<std::string>& names);

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

// openForReading: binary and without a buffer of its own (what is read may be secret); null when it cannot be opened.
// Only ordinary files open: a pipe or a device could block the caller for good. Throws std::bad_alloc.
[[nodiscard]] FilePtr openForReading(const char* path);

// fileSize: in bytes, -1 when it cannot be told; the file stands at its beginning afterwards.
[[nodiscard]] std::int64_t fileSize(std::FILE* file) noexcept;

// AppendFile: a text file opened for one append and closed at the end of its scope. It is made when missing, with the
// rights that the process's umask leaves. Write errors are swallowed: a log has nobody to report them to.
class AppendFile final {
 public:
  explicit AppendFile(const char* path) noexcept;
  ~AppendFile();
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;

  [[nodiscard]] bool isOpen() const noexcept;
  void append(std::string_view text) noexcept;

 private:
  std::intptr_t handle_;
};

// The text converter, shaped like iconv_open, iconv and iconv_close. Both systems know the names "BIG5" and "UTF-16LE"
// in any letter case; a sequence that is invalid in the source fails, it is never replaced.
// openConverter: null when a name is unknown. convert: as iconv, with static_cast<std::size_t>(-1) and errno on
// failure.
using Converter = void*;
[[nodiscard]] Converter openConverter(const char* target, const char* source) noexcept;
[[nodiscard]] std::size_t convert(Converter converter, char** in, std::size_t* inLeft, char** out,
                                  std::size_t* outLeft) noexcept;
void closeConverter(Converter converter) noexcept;

}  // namespace zepasign::platform

#endif  // ZEPASIGN_BASE_PLATFORM_H_
