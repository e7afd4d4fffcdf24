// The lines of a daily log for a terminal: converted to UTF-8 and chosen by level, one at a time.
#ifndef ZEPASIGN_TOOLS_FILES_LOGFILE_H_
#define ZEPASIGN_TOOLS_FILES_LOGFILE_H_

#include <string>
#include <string_view>
#include <vector>

namespace zepasign::tools {

// isLog: whether a file that begins with these bytes is a log: its first line begins with a time stamp,
// 2026/01/31 08:15:00.123
[[nodiscard]] bool isLog(std::string_view head);

// logLineText: the line in UTF-8. Its text is Big5, or UTF-8 with LOG.encoding; the value behind " = " is as the host
// passed it, often UTF-8. A name that the crypto library prints as \xE9\x99\xB3 is shown as the characters that the
// bytes stand for.
[[nodiscard]] std::string logLineText(const std::string& line);

// levelNames: for the option --level, the least severe first.
[[nodiscard]] const std::vector<std::string>& levelNames();

// LevelFilter: which lines have at least a level. The rows of a hexadecimal dump go with the line above them.
class LevelFilter final {
 public:
  // LevelFilter: `level` is one of levelNames in any letter case, or empty, which lets every line pass.
  explicit LevelFilter(const std::string& level);

  // passes: REQUIRES: called for every line in order.
  [[nodiscard]] bool passes(const std::string& line);

 private:
  int threshold_ = 0;
  bool passed_ = true;
};

// nextDaysFile: the file of today when `path` is one of an earlier day, app.log.20260131, and today's is there; else
// empty.
[[nodiscard]] std::string nextDaysFile(const std::string& path);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_LOGFILE_H_
