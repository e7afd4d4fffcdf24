// LogTraces: keeps a trial run from leaving anything behind. The library makes the directories of the log and the file
// of the day; made by another account than the host's, they would take the log away from the host.
#ifndef ZEPASIGN_TOOLS_COMMANDS_CHECK_TRACES_H_
#define ZEPASIGN_TOOLS_COMMANDS_CHECK_TRACES_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zepasign::tools {

class LogTraces final {
 public:
  // LogTraces: notes what is there before the trial run. `folder` and `file` are LOG.path and LOG.file; with one of
  // them empty there is no log, and nothing to do.
  LogTraces(std::string folder, std::string file);
  // ~LogTraces: removes the log files and directories that have appeared since. What another process has used
  // meanwhile stays, and is given to the owner of the directory that holds it.
  ~LogTraces();
  LogTraces(const LogTraces&) = delete;
  LogTraces& operator=(const LogTraces&) = delete;

  // hasGrown: whether a log file has appeared or grown since.
  [[nodiscard]] bool hasGrown() const;

 private:
  using Sizes = std::map<std::string, std::uintmax_t>;  // by path

  [[nodiscard]] Sizes logFiles() const;

  std::string folder_;
  std::string file_;
  std::vector<std::string> missing_;  // directories that were not there, the topmost first
  Sizes before_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_CHECK_TRACES_H_
