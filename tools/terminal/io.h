// What the command line reads and writes: listings and errors for people and programs, whole files, and passwords.
#ifndef ZEPASIGN_TOOLS_TERMINAL_IO_H_
#define ZEPASIGN_TOOLS_TERMINAL_IO_H_

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace zepasign::tools {

// Json: what a listing says; values are UTF-8. JSON shows it as it is, a terminal with indentation.
using Json = nlohmann::ordered_json;

// openOutput: takes the process's standard output for the functions below; see takeStandardOutput.
void openOutput();
// closeOutput: false when something could not be written.
[[nodiscard]] bool closeOutput();

// printBytes, flushOutput, printLine, printListing write to the standard output. When its reader is gone (a pipe to
// "head"), they end the process silently, see endByClosedPipe; any other failure is kept for closeOutput.
void printBytes(const std::string& bytes);
// flushOutput: passes on what was printed; false when any of it could not be written, as on a full disk.
bool flushOutput();
void printLine(const std::string& utf8);
// printListing: as JSON (ASCII only, so that it does not depend on the locale) or as indented lines.
void printListing(const Json& tree, bool asJson);

// printError: a line on the standard error.
void printError(const std::string& utf8);

// readAll: the whole content of a file or, for "-", of the standard input. False when it cannot be read.
[[nodiscard]] bool readAll(const std::string& path, std::string& bytes);
// readFirstLine: of a file or, for "-", of the standard input, of which the rest remains to be read. False when it
// cannot be read or the line is empty.
[[nodiscard]] bool readFirstLine(const std::string& path, std::string& line);
// readRegularFile: the same of a regular file, which is all that the library reads.
[[nodiscard]] bool readRegularFile(const std::string& path, std::string& bytes);

// isStandardOutput: "-", or a path of the standard output such as /dev/stdout.
[[nodiscard]] bool isStandardOutput(const std::string& path);
// writeFile: to the standard output, else as writeFileAt does.
[[nodiscard]] bool writeFile(const std::string& path, const std::string& bytes, bool isPrivate = false);

// readSecret: one line, from the terminal without echo after the prompt, else from the standard input as it comes.
// False when it is empty. The caller wipes it; nothing else of the program keeps a copy. REQUIRES: nothing was read
// from the standard input before.
[[nodiscard]] bool readSecret(const std::string& prompt, std::string& secret);
// readNewSecret: the same, but at a terminal it asks a second time.
enum class NewSecret { kRead, kEmpty, kDiffer };
[[nodiscard]] NewSecret readNewSecret(const std::string& prompt, const std::string& promptAgain, std::string& secret);

// Progress: a bar, or a number when the total is not known (0), on the standard error while that is a terminal.
class Progress final {
 public:
  // Progress: shows nothing unless `isWanted`.
  Progress(std::size_t total, bool isWanted);
  ~Progress() { erase(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(std::size_t done) const;
  void erase() const;

 private:
  std::size_t total_;
  bool visible_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_IO_H_
