#include <sys/wait.h>

#include <cstdio>
#include <stdexcept>

#include "tests/support/command.h"
#include "tests/support/files.h"

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

Verdict verify(const Question& question) {
  const TempFolder folder;
  const auto file = [&folder](const std::string& name, const std::string& bytes) {
    return " -" + name + " '" + folder.write(name, bytes) + "'";
  };
  const auto pemFile = [&file](const std::string& name, const std::vector<Certificate>& certificates) {
    std::string text;
    for (const Certificate& each : certificates) text += each ? pemOf("CERTIFICATE", derOf(each)) : "";
    return text.empty() ? "" : file(name, text);
  };
  const CommandResult result =
      runCommand("openssl " + question.tool + " -verify -binary -purpose any -inform DER" +
                 file("in", question.signature) + file("out", "") + pemFile("CAfile", question.trusted) +
                 pemFile("certfile", {question.signer}) + (question.content ? file("content", *question.content) : ""));
  return {result.exitCode == 0, readFile(folder.path("out")), result.output};
}

}  // namespace zepasign::testing
