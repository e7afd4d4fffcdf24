// The process-wide diagnostic log: one line per event with time stamp, process id and level, in one file a day.
//
//   2026/01/31 08:15:00.123 (PID=4711)  INFO begin ZEPASign::SignPkcs7Bin()
//
// Lines written before the file is known are kept and stand at the top of the first file. The file is opened and closed
// for every line, so it can be moved away at any time; when it cannot be opened, the line is dropped and nothing is
// written anywhere else. Texts are bytes and come out as they went in.
//
// Thread rule: one thread at a time.
#ifndef ZEPASIGN_BASE_CLOG_H_
#define ZEPASIGN_BASE_CLOG_H_

#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "base/logencoding.h"

namespace zepasign {

using ByteSpan = std::span<const unsigned char>;

// LogLevel: the name printed in a line and its rank; a line is wanted when the log's threshold is at most the rank.
struct LogLevel {
  const char* name;
  int rank;
};
inline constexpr LogLevel kDebug{"DEBUG", 10};
inline constexpr LogLevel kInfo{"INFO", 20};
inline constexpr LogLevel kParam{"PARAM", 20};  // arguments: a label of its own with the rank of INFO
inline constexpr LogLevel kWarn{"WARN", 30};
inline constexpr LogLevel kError{"ERROR", 40};
inline constexpr int kOffRank = 100;  // threshold only: nothing is written

// PendingText: lines that wait for a file. It takes 16 MiB; a host that never chooses a file must not lose its memory
// to the log.
class PendingText final {
 public:
  static constexpr std::size_t kLimit = 16U << 20U;

  void append(std::string_view text);
  [[nodiscard]] const std::string& text() const noexcept { return text_; }

 private:
  std::string text_;
  bool full_ = false;
};

// cLog: the write operations write unconditionally; callers ask isEnabled first, or use the log functions below.
class cLog {
 public:
  cLog();
  // ~cLog: prints to the standard output what is pending.
  virtual ~cLog();
  cLog(const cLog&) = delete;
  cLog& operator=(const cLog&) = delete;

  [[nodiscard]] bool isEnabled(const LogLevel& level) const noexcept { return threshold_ <= level.rank; }

  // setLevel: DEBUG, INFO, WARN, ERROR or OFF in any letter case; any other name, null or "" changes nothing.
  void setLevel(const char* levelName) noexcept;

  // setLogFile: chooses the file <folder><separator><file>.YYYYMMDD, once per process, after making the folder with its
  // missing parents. False when it was chosen before, an argument is null or empty, or the folder cannot be made.
  bool setLogFile(const char* folder, const char* file) noexcept;

  // setEncoding: LOG.encoding, see LogEncoding; without effect once the file is chosen. What is pending is converted
  // when it is written.
  void setEncoding(const char* name) noexcept;

  void writeText(const char* levelName, std::string_view text) noexcept;
  void writeValue(const char* levelName, std::string_view label, std::string_view value) noexcept;
  // writeInt: "label = 0x0000138D(5005)".
  void writeInt(const char* levelName, std::string_view label, int value) noexcept;
  // writeBool: "label = true" or "label = false".
  void writeBool(const char* levelName, std::string_view label, bool value) noexcept;

  // writeHex: a header line with the length, then rows of 16 bytes with offset, digits and characters.
  void writeHex(const char* levelName, std::string_view label, const unsigned char* data, int length) noexcept;
  // writeHex: the same for bytes that lie in several pieces, at most INT_MAX together.
  void writeHex(const char* levelName, std::string_view label, std::initializer_list<ByteSpan> pieces) noexcept;

 private:
  void writeParts(const char* levelName, std::initializer_list<std::string_view> parts) noexcept;
  void writeDump(const char* levelName, std::string_view label, int length,
                 std::initializer_list<ByteSpan> pieces) noexcept;

  int threshold_ = 0;
  bool fileSet_ = false;
  std::unique_ptr<PendingText> pending_;
  std::string fileBase_;
  LogEncoding encoding_;
};

// logger: the one log of the process; made when the library is loaded, before anything that logs.
extern cLog logger;

// logText, logInt, logBool: write the line when its level is enabled.
void logText(const LogLevel& level, std::string_view text) noexcept;
void logInt(const LogLevel& level, std::string_view label, int value) noexcept;
void logBool(const LogLevel& level, std::string_view label, bool value) noexcept;
void logValue(const LogLevel& level, std::string_view label, std::string_view value) noexcept;

// logErrorValue, logDebugValue: the same for a value, at ERROR and at DEBUG.
inline void logErrorValue(std::string_view label, std::string_view value) noexcept { logValue(kError, label, value); }
inline void logDebugValue(std::string_view label, std::string_view value) noexcept { logValue(kDebug, label, value); }

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CLOG_H_
