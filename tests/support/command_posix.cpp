#include <sys/wait.h>

#include <cstdio>
#include <stdexcept>

#include "tests/support/command.h"

namespace zepasign::testing {

CommandResult runCommand(const std::string& command) {
  std::FILE* pipe = popen(("{ " + command + "\n} 2>&1").c_str(), "r");  // NOLINT(cert-env33-c): tests choose the text
  if (!pipe) throw std::runtime_error("cannot run " + command);
  CommandResult result{};
  for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) result.output += static_cast<char>(byte);
  const int status = pclose(pipe);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace zepasign::testing
