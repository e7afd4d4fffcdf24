// The process-wide diagnostic log: one line per event with time stamp, process id and level, in one file a day.
//
//   2026/01/31 08:15:00.123 (PID=4711)  INFO begin ZEPASign::SignPkcs7Bin()
//
// The log has two lives. Level and file are settings of the property file, but reading that file is logged already.
//
//   before setLogFile   Lines are kept in memory (PendingText). All levels are enabled until setLevel.
//   after setLogFile    Each line opens the file of its day, is appended, and closes the file, so that the file can be
//                       moved away at any time. The first line that opens a file writes the pending text before itself.
//                       When the file cannot be opened, the line is dropped and written nowhere else.
//   destruction         If no file took the pending text (none was chosen, none could be opened, or no line came after
//                       setLogFile, as with level OFF), the log prints it to the standard output.
//
// The library writes to one object, `logger`, below. Texts are bytes, the library's own in Big5, and are written
// unchanged unless LOG.encoding asks for UTF-8. A caller tests the level before it builds a line: isEnabled, or the log
// functions below when the text needs no building.
//
// Only setEncoding throws, and nothing reports an error: a line that cannot be written is lost, the caller's work goes
// on. Thread rule: one thread at a time.
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

// PendingText: lines that wait for a file. It takes 16 MiB, then one line that tells that the rest is dropped: a host
// that never chooses a file must not lose its memory to the log.
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
  // ~cLog: prints what is pending, see platform::printToStandardOutput.
  virtual ~cLog();
  cLog(const cLog&) = delete;
  cLog& operator=(const cLog&) = delete;

  [[nodiscard]] bool isEnabled(const LogLevel& level) const noexcept { return threshold_ <= level.rank; }

  // setLevel: DEBUG, INFO, WARN, ERROR or OFF in any letter case; any other name, null or "" changes nothing.
  void setLevel(const char* levelName) noexcept;

  // setLogFile: chooses the file <directory><separator><file>.YYYYMMDD, once per process, after making the directory
  // with its missing parents. False when it was chosen before, an argument is null or empty, or the directory cannot be
  // made.
  bool setLogFile(const char* directory, const char* file) noexcept;

  // setEncoding: LOG.encoding, see LogEncoding; without effect once the file is chosen. What is pending is converted
  // when it is written. Throws std::bad_alloc; the encoding can then be chosen again.
  void setEncoding(const char* name);

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

// logger: the one log of the process. base/ declares it only; each library or program that links base/ defines it once.
//
// The library defines its log in api/process_state.cpp: it is made first when the library is loaded, and destroyed last
// when the library is unloaded or the process ends. The command line has a second object beside it, in
// tools/process_state.cpp, for the code of base/ and pki/ that the tool calls itself, and sets it to OFF when it
// starts.
//
// Every module may call it, from one thread at a time, while it exists.
extern cLog logger;

// logText, logInt, logBool, logValue: write the line to `logger` when its level is enabled.
void logText(const LogLevel& level, std::string_view text) noexcept;
void logInt(const LogLevel& level, std::string_view label, int value) noexcept;
void logBool(const LogLevel& level, std::string_view label, bool value) noexcept;
void logValue(const LogLevel& level, std::string_view label, std::string_view value) noexcept;

// logErrorValue, logDebugValue: the same for a value, at ERROR and at DEBUG.
inline void logErrorValue(std::string_view label, std::string_view value) noexcept { logValue(kError, label, value); }
inline void logDebugValue(std::string_view label, std::string_view value) noexcept { logValue(kDebug, label, value); }

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CLOG_H_
