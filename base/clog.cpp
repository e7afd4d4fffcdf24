// A line goes through LogLine: its prefix, then label and value in parts, then its end. Towards the file the parts are
// collected in a buffer, so that a line goes out in one write and the lines of several processes do not mix; parts
// beyond kFlushSize (the Base64 of a big signature) are written without being copied. Without a file the parts are
// appended to the pending text instead.
#include "base/clog.h"

#include <cstdio>
#include <new>

#include "base/big5.h"
#include "base/hexdump.h"
#include "base/platform.h"
#include "base/text.h"

namespace zepasign {
namespace {

constexpr std::size_t kFlushSize = 1U << 16U;  // bytes of a line that are collected before they are written

std::string linePrefix(const platform::LocalTime& t, const char* levelName) {
  char text[96];
  std::snprintf(text, sizeof text, "%04d/%02d/%02d %02d:%02d:%02d.%03d (PID=%d) %5s ", t.year, t.month, t.day, t.hour,
                t.minute, t.second, t.millisecond, platform::processId(), levelName);
  return text;
}

std::string dailyFileName(const std::string& fileBase, const platform::LocalTime& t) {
  char date[40];
  std::snprintf(date, sizeof date, ".%04d%02d%02d", t.year, t.month, t.day);
  return fileBase + date;
}

// createDirectories: makes every prefix of the path that ends before a "/" or at the end of the text. Only "/" divides.
// The log line of its result names cFile::createFolder(): readers of the log depend on that text.
bool createDirectories(const std::string& directory) {
  for (std::size_t end = 1; end <= directory.size(); ++end) {
    if (end < directory.size() && directory[end] != '/') continue;
    if (!platform::createDirectory(directory.substr(0, end).c_str())) return false;
  }
  return true;
}

// LogLine: one line on its way to the day's file or, before a file is chosen, to the pending text. A file that opens
// takes the pending text first.
class LogLine final {
 public:
  LogLine(const char* levelName, bool fileSet, const std::string& fileBase, std::unique_ptr<PendingText>& pending,
          const LogEncoding& encoding)
      : pending_(fileSet ? nullptr : pending.get()), encoding_(encoding) {
    const platform::LocalTime now = platform::now();
    if (fileSet) {
      file_ = std::make_unique<platform::AppendFile>(dailyFileName(fileBase, now).c_str());
      if (!file_->isOpen()) return;
      if (pending) file_->append(encoding.encodeLines(pending->text(), area_));
      pending.reset();
    }
    append(linePrefix(now, levelName));
  }
  LogLine(const LogLine&) = delete;
  LogLine& operator=(const LogLine&) = delete;

  // finish: ends and writes the line; without this call what is left in the buffer is discarded.
  void finish() {
    append("\n");
    flush();
  }

  [[nodiscard]] bool goesToFile() const { return file_ != nullptr; }

  void append(std::string_view text) {
    if (pending_ != nullptr) pending_->append(text);
    if (file_ == nullptr) return;
    text = encoding_.encode(text, area_);
    if (buffer_.size() + text.size() > kFlushSize) flush();
    if (text.size() > kFlushSize) {
      file_->append(text);
    } else {
      buffer_.append(text);
    }
  }

 private:
  void flush() {
    if (file_ != nullptr && !buffer_.empty()) file_->append(buffer_);
    buffer_.clear();
  }

  PendingText* pending_;
  const LogEncoding& encoding_;
  std::unique_ptr<platform::AppendFile> file_;
  std::string buffer_;
  std::string area_;  // of the encoding
};

}  // namespace

void PendingText::append(std::string_view text) {
  if (full_) return;
  full_ = text_.size() + text.size() > kLimit;
  text_.append(full_ ? "\n暫存的 LOG 已滿, 其後內容捨棄\n"_big5 : text);
}

// Out of memory there is no pending text and its lines are lost: loading the library must not fail for the log.
cLog::cLog() : pending_(new (std::nothrow) PendingText) {}

cLog::~cLog() {
  if (!pending_ || pending_->text().empty()) return;
  try {
    std::string area;
    platform::printToStandardOutput(encoding_.encodeLines(pending_->text(), area));
  } catch (const std::bad_alloc&) {
    platform::printToStandardOutput(pending_->text());
  }
}

void cLog::setLevel(const char* levelName) noexcept {
  struct Threshold {
    const char* name;
    int rank;
    const char* announcement;
  };
  static constexpr Threshold kThresholds[] = {{kDebug.name, kDebug.rank, "重設 LOG Level = DEBUG"_big5},
                                              {kInfo.name, kInfo.rank, "重設 LOG Level = INFO"_big5},
                                              {kWarn.name, kWarn.rank, nullptr},
                                              {kError.name, kError.rank, nullptr},
                                              {"OFF", kOffRank, nullptr}};
  for (const Threshold& threshold : kThresholds) {
    if (!equalsIgnoreCase(levelName, threshold.name)) continue;
    threshold_ = threshold.rank;
    if (threshold.announcement != nullptr) writeText(kInfo.name, threshold.announcement);
    return;
  }
}

void cLog::setEncoding(const char* name) {
  if (fileSet_) return;
  if (!encoding_.choose(name) && isEnabled(kError)) writeText(kError.name, "iconv_open() 失敗"_big5);
}

bool cLog::setLogFile(const char* directory, const char* file) noexcept {
  if (fileSet_ || isEmpty(directory) || isEmpty(file)) return false;
  try {
    const bool created = createDirectories(directory);
    if (isEnabled(kDebug)) writeBool(kDebug.name, "end cFile::createFolder() return", created);
    if (!created) return false;
    fileBase_ = std::string(directory) + platform::kDirectorySeparator + file;
    fileSet_ = true;
    return true;
  } catch (...) {
    return false;
  }
}

void cLog::writeParts(const char* levelName, std::initializer_list<std::string_view> parts) noexcept {
  try {
    LogLine line(levelName, fileSet_, fileBase_, pending_, encoding_);
    for (std::string_view part : parts) line.append(part);
    line.finish();
  } catch (...) {  // out of memory: the line is lost, the caller's work goes on
  }
}

void cLog::writeText(const char* levelName, std::string_view text) noexcept { writeParts(levelName, {text}); }

void cLog::writeValue(const char* levelName, std::string_view label, std::string_view value) noexcept {
  writeParts(levelName, {label, " = ", value});
}

void cLog::writeInt(const char* levelName, std::string_view label, int value) noexcept {
  char number[32];
  std::snprintf(number, sizeof number, "0x%08X(%d)", static_cast<unsigned>(value), value);
  writeParts(levelName, {label, " = ", number});
}

void cLog::writeBool(const char* levelName, std::string_view label, bool value) noexcept {
  writeParts(levelName, {label, value ? " = true" : " = false"});
}

void cLog::writeHex(const char* levelName, std::string_view label, const unsigned char* data, int length) noexcept {
  const bool empty = data == nullptr || length < 1;
  writeDump(levelName, label, length, {empty ? ByteSpan() : ByteSpan(data, static_cast<std::size_t>(length))});
}

void cLog::writeHex(const char* levelName, std::string_view label, std::initializer_list<ByteSpan> pieces) noexcept {
  std::size_t total = 0;
  for (ByteSpan piece : pieces) total += piece.size();
  writeDump(levelName, label, static_cast<int>(total), pieces);
}

void cLog::writeDump(const char* levelName, std::string_view label, int length,
                     std::initializer_list<ByteSpan> pieces) noexcept {
  try {
    char header[48];
    std::snprintf(header, sizeof header, "(len=%d, 0x%X) = ", length, static_cast<unsigned>(length));
    LogLine line(levelName, fileSet_, fileBase_, pending_, encoding_);
    line.append(label);
    line.append(header);
    HexDump dump(line.goesToFile() ? HexDump::Column::kAsLongAsTheRow : HexDump::Column::kSixteenWide,
                 [&line](std::string_view row) { line.append(row); });
    for (ByteSpan piece : pieces) dump.add(piece);
    dump.finish();
    line.finish();
  } catch (...) {  // as in writeParts
  }
}

void logText(const LogLevel& level, std::string_view text) noexcept {
  if (logger.isEnabled(level)) logger.writeText(level.name, text);
}

void logInt(const LogLevel& level, std::string_view label, int value) noexcept {
  if (logger.isEnabled(level)) logger.writeInt(level.name, label, value);
}

void logBool(const LogLevel& level, std::string_view label, bool value) noexcept {
  if (logger.isEnabled(level)) logger.writeBool(level.name, label, value);
}

void logValue(const LogLevel& level, std::string_view label, std::string_view value) noexcept {
  if (logger.isEnabled(level)) logger.writeValue(level.name, label, value);
}

}  // namespace zepasign
