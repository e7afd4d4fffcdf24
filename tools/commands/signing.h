// Signing through the library's exported functions, in this process or in several of its kind: the library is one
// signer per process, so more hands mean more processes.
#ifndef ZEPASIGN_TOOLS_COMMANDS_SIGNING_H_
#define ZEPASIGN_TOOLS_COMMANDS_SIGNING_H_

#include <functional>
#include <string>
#include <vector>

namespace zepasign::tools {

// SigningSetup: what all jobs of a run have in common. `form` is "base64", "der" or "pem"; `encoding` is empty or what
// Big5 texts are converted to before they are signed; `encedPassword` goes to ZEPASignInitial.
struct SigningSetup {
  std::string propertyFile;
  std::string encedPassword;
  std::string encoding;
  std::string form;
};

// SigningJob: a file and the place of its signature; "-" stands for the standard streams.
struct SigningJob {
  std::string input;
  std::string output;
};

// Outcome: an error code, 0 for success, and what it means (UTF-8).
struct Outcome {
  int code = 0;
  std::string meaning = {};
};

// initialise: makes this process the signer. Keeps what `sign` needs.
[[nodiscard]] Outcome initialise(const SigningSetup& setup);
// sign: REQUIRES: initialise succeeded.
[[nodiscard]] Outcome sign(const SigningJob& job);

// signAll: all jobs, by as many processes as wanted; `done` is called after each job with its index, by one thread at a
// time. The result is that of the first initialisation that failed; then jobs may be left without a call.
using Done = std::function<void(std::size_t index, const Outcome& outcome)>;
[[nodiscard]] Outcome signAll(const SigningSetup& setup, const std::vector<SigningJob>& jobs, std::size_t processes,
                              const Done& done);

// addWorker: the sub-command that makes the program a worker of signAll; not in the help.
class CommandLine;
void addWorker(CommandLine& line);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_SIGNING_H_
