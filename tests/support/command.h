// Other programs as judges of our signatures; POSIX only: include it from tests that are built there alone.
#ifndef ZEPASIGN_TESTS_SUPPORT_COMMAND_H_
#define ZEPASIGN_TESTS_SUPPORT_COMMAND_H_

#include <optional>
#include <string>
#include <vector>

#include "tests/support/pki.h"

namespace zepasign::testing {

struct CommandResult {
  int exitCode;        // 128 + n after signal n
  std::string output;  // standard output and standard error together
};

// runCommand: runs a line of the shell and waits for it.
[[nodiscard]] CommandResult runCommand(const std::string& command);

// Question: what the openssl command shall be asked about a signature.
struct Question {
  std::string signature = {};               // DER
  std::vector<Certificate> trusted = {};    // the CA file: roots, and CAs that the signature does not carry
  Certificate signer = {};                  // when the signature does not carry it
  std::optional<std::string> content = {};  // of a detached signature
  std::string tool = "cms";                 // or "smime"
};

struct Verdict {
  bool good;
  std::string content;  // as verified
  std::string output;   // the command's own words
};

[[nodiscard]] Verdict verify(const Question& question);

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_COMMAND_H_
