// What the command line asks of the system beyond the library's own platform interface; one whole file per system
// implements it (console_posix.cpp, console_windows.cpp). Texts are UTF-8 inside the program; file names and arguments
// are bytes in the encoding of the terminal and are passed on as they are.
#ifndef ZEPASIGN_TOOLS_TERMINAL_SYSTEM_H_
#define ZEPASIGN_TOOLS_TERMINAL_SYSTEM_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zepasign::tools {

// setUpStreams: the user's locale, binary standard streams, and no death by a reader that went away.
void setUpStreams();

// takeStandardOutput: the standard output as a stream of the tool's own. What the library or anybody else writes to the
// process's standard output from now on goes nowhere. Null when there is no standard output.
[[nodiscard]] std::FILE* takeStandardOutput();

// prefersChinese: whether the user's locale is a Chinese one whose encoding has the characters.
[[nodiscard]] bool prefersChinese();

// Conversions of texts; what a side does not have becomes "?". fromBig5: a text of the library.
[[nodiscard]] std::string toTerminal(const std::string& utf8);
[[nodiscard]] std::string fromTerminal(const std::string& bytes);
[[nodiscard]] std::string fromBig5(const std::string& bytes);
// toUtf8: bytes of a property file as UTF-8, which they are or else Big5.
[[nodiscard]] std::string toUtf8(const std::string& bytes);

[[nodiscard]] bool isTerminal(std::FILE* stream);
[[nodiscard]] bool isFolder(const std::string& path);
// isAbsolute: whether the path names the same place wherever the program is started.
[[nodiscard]] inline bool isAbsolute(const std::string& path) {
  return path.starts_with('/') || path.starts_with('\\') || path.substr(0, 2).ends_with(':');
}
// fileNameOf: what stands behind the last separator of the path.
[[nodiscard]] std::string fileNameOf(const std::string& path);
// canonicalPath: the same text for all paths that name one entry of one folder, which may be missing.
[[nodiscard]] std::string canonicalPath(const std::string& path);

// readLineHidden: a line typed at the terminal that is the standard input, without showing it.
[[nodiscard]] std::string readLineHidden();

// createFile: opens a new file for writing bytes, in the stead of one that may be there; a private one is readable by
// its owner alone, where the system knows such rights. Null when it cannot be opened.
[[nodiscard]] std::FILE* createFile(const std::string& path, bool isPrivate);
// replaceFile: renames, over a file that may be there, in one step.
[[nodiscard]] bool replaceFile(const std::string& from, const std::string& to);

// ChildProcess: this program once more, with a pipe to its standard input and one from its standard output. Its end of
// input comes with the destructor, which then waits for it.
class ChildProcess final {
 public:
  explicit ChildProcess(const std::string& argument);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // input, output: its streams; null when it could not be started.
  [[nodiscard]] std::FILE* input() const noexcept { return input_; }
  [[nodiscard]] std::FILE* output() const noexcept { return output_; }

 private:
  std::FILE* input_ = nullptr;
  std::FILE* output_ = nullptr;
  std::intptr_t process_ = 0;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_SYSTEM_H_
