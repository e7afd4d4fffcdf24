// Everything that differs between the systems this library runs on; one whole file per system implements it
// (platform_posix.cpp, platform_windows.cpp). Path texts are byte strings in the process's code page and are passed on
// as they are: the byte 0x5C is also the second byte of many Big5 characters, so no path is ever rewritten.
//
// Files: only regular files are opened, for reading and for the log. Opening a pipe or a device could block the caller
// for good.
//
// A function that fails tells so by its result; those that throw say so.
//
// Thread rule: any thread, except that a file or a text converter belongs to one thread at a time.
#ifndef ZEPASIGN_BASE_PLATFORM_H_
#define ZEPASIGN_BASE_PLATFORM_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace zepasign::platform {

// kDirectorySeparator: joins a directory and a file name, a backslash on Windows, "/" elsewhere.
extern const char kDirectorySeparator;

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

// makeLocalTime: from the fields that the C library counts from 1900 and from 0.
[[nodiscard]] inline LocalTime makeLocalTime(const std::tm& local, int millisecond) noexcept {
  constexpr int kTmFirstYear = 1900;
  constexpr int kTmFirstMonth = 1;
  return {local.tm_year + kTmFirstYear,
          local.tm_mon + kTmFirstMonth,
          local.tm_mday,
          local.tm_hour,
          local.tm_min,
          local.tm_sec,
          millisecond};
}

// now: the current moment; all zero when the system cannot tell its local time.
[[nodiscard]] LocalTime now() noexcept;

// localDateText: the present local time as 14 digits YYYYMMDDhhmmss.
[[nodiscard]] inline std::string localDateText() {
  const LocalTime t = now();
  return dateText(t.year, t.month, t.day, t.hour, t.minute, t.second);
}

// processId: of the calling process. It is asked at each call, since a host may fork.
[[nodiscard]] int processId() noexcept;

// currentDirectory: the process's working directory, empty when it cannot be read within 1024 bytes.
[[nodiscard]] std::string currentDirectory();

// createDirectory: makes one directory (not its parents), with the permissions that the process's umask leaves; true
// also when something of that name exists already.
[[nodiscard]] bool createDirectory(const char* path) noexcept;

// listDirectory: appends the names of all entries (name only, directories included) in the order the system gives them;
// false when the directory cannot be searched. Throws std::bad_alloc.
[[nodiscard]] bool listDirectory(const std::string& directory, std::vector<std::string>& names);

// preferLargePages: tells the system that all of a heap block will be written soon, so that it may give large pages:
// the page faults of a block of many megabytes cost as much as computing its digest. Only a hint; it never fails.
// Blocks below 32 MiB, which the C library keeps for later blocks, are left as they are. Does nothing on Windows.
void preferLargePages(void* block, std::size_t size) noexcept;

// FilePtr: the owner of an open file, which it closes.
struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

// openForReading: binary and without a buffer of its own (what is read may be secret); null when it cannot be opened or
// is no regular file. Throws std::bad_alloc.
[[nodiscard]] FilePtr openForReading(const char* path);

// fileSize: in bytes, -1 when it cannot be told; the next read starts at the beginning of the file. REQUIRES: `file` is
// not null and comes from openForReading.
[[nodiscard]] std::int64_t fileSize(std::FILE* file) noexcept;

// AppendFile: a text file opened for one append and closed at the end of its scope. It is created when missing, with
// the permissions that the process's umask leaves. A write error drops the rest of the text silently: this is the log,
// and there is no other place to report to.
class AppendFile final {
 public:
  explicit AppendFile(const char* path) noexcept;
  ~AppendFile();
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;

  // isOpen: false when the file could not be opened or created, or is no regular file.
  [[nodiscard]] bool isOpen() const noexcept;
  // append: `text` at the end of the file, whatever another process wrote there meanwhile. Lines end with LF, on
  // Windows with CR LF. REQUIRES: isOpen().
  void append(std::string_view text) noexcept;

 private:
  std::intptr_t handle_;  // the file descriptor or Windows handle, -1 when not open
};

// printToStandardOutput: prints and flushes. Nothing is printed when another thread holds the stream's lock (which
// could be for ever), and a closed pipe raises no signal (both: not on Windows, which has neither).
void printToStandardOutput(std::string_view text) noexcept;

// The text converter, shaped like iconv_open, iconv and iconv_close. Both systems know the names "BIG5" and "UTF-16LE"
// in any letter case; a sequence that is invalid in the source fails, it is never replaced.
// openConverter: null, with errno, when a name is unknown or there is no memory (ENOMEM, but not always); otherwise the
// caller owns the converter and ends it with closeConverter.
// convert: moves `*in` and `*out` forward and lowers the byte counts beside them. On failure kNotConverted, with errno
// EILSEQ (or EINVAL at the end of the input) for an invalid sequence and E2BIG when `*out` is full. REQUIRES of both: a
// converter that is not null.
using Converter = void*;
inline constexpr auto kNotConverted = static_cast<std::size_t>(-1);
[[nodiscard]] Converter openConverter(const char* target, const char* source) noexcept;
[[nodiscard]] std::size_t convert(Converter converter, char** in, std::size_t* inLeft, char** out,
                                  std::size_t* outLeft) noexcept;
void closeConverter(Converter converter) noexcept;

}  // namespace zepasign::platform

#endif  // ZEPASIGN_BASE_PLATFORM_H_
