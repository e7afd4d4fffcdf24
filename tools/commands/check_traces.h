// LogTraces: keeps a trial run from leaving anything behind. The library makes the directories of the log and the file
// of the day; made by another account than the host's, they would take the log away from the host.
//
// The object lives around the initialisation and the trial signature. What it compares are the files in LOG.path whose
// names begin with LOG.file and a point, one a day; their lines name the process that wrote them.
//
// Thread rule: one thread. No function throws because of a file that cannot be read, removed or given away: that file
// is left as it is.
#ifndef ZEPASIGN_TOOLS_COMMANDS_CHECK_TRACES_H_
#define ZEPASIGN_TOOLS_COMMANDS_CHECK_TRACES_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zepasign::tools {

class LogTraces final {
 public:
  // LogTraces: notes what is there before the trial run. `directory` and `file` are LOG.path and LOG.file; with one of
  // them empty there is no log, and nothing to do.
  LogTraces(std::string directory, std::string file);
  // ~LogTraces: removes the log files and directories that have appeared since. What another process has used
  // meanwhile stays, and is given to the owner of the directory that holds it.
  ~LogTraces();
  LogTraces(const LogTraces&) = delete;
  LogTraces& operator=(const LogTraces&) = delete;

  // hasGrown: whether a log file has appeared or grown since.
  [[nodiscard]] bool hasGrown() const;

 private:
  // Sizes: in bytes.
  using Sizes = std::map<std::string, std::uintmax_t>;  // by path

  // logFiles: the log files that are there now; empty when the directory cannot be read.
  [[nodiscard]] Sizes logFiles() const;

  std::string directory_;
  std::string file_;
  std::vector<std::string> missing_;  // directories that were not there, the topmost first
  // before_: the log files at the time of construction.
  Sizes before_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_CHECK_TRACES_H_
