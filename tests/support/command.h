// Other programs, which verify our signatures; POSIX only.
#ifndef ZEPASIGN_TESTS_SUPPORT_COMMAND_H_
#define ZEPASIGN_TESTS_SUPPORT_COMMAND_H_

#include <string>

namespace zepasign::testing {

struct CommandResult {
  int exitCode;        // 128 + n after signal n
  std::string output;  // standard output and standard error together
};

// runCommand: runs a line of the shell and waits for it.
[[nodiscard]] CommandResult runCommand(const std::string& command);

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_COMMAND_H_
