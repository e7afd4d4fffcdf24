// The sub-commands: what main reads from the command line for each, and what carries it out. Every one returns an
// ExitCode. File names are bytes of the terminal's encoding.
#ifndef ZEPASIGN_TOOLS_COMMANDS_H_
#define ZEPASIGN_TOOLS_COMMANDS_H_

#include <string>
#include <vector>

namespace zepasign::tools {

// CommonOptions: shared by those who read a property file. `encedFile` holds the password that ZEPASignInitial takes
// beside a property file with PSWD.authKey, as "zepasign passwd" printed it.
struct CommonOptions {
  std::string propertyFile;
  std::string encedFile;
  bool json = false;
};

struct SignOptions : CommonOptions {
  std::vector<std::string> files;
  std::string output;
  std::string outputFolder;
  std::string encoding;
  bool der = false;
  bool pem = false;
  bool resume = false;
  unsigned jobs = 1;
};
[[nodiscard]] int runSign(const SignOptions& options);

struct VerifyOptions {
  std::vector<std::string> signatures;
  std::string content;
  std::string authorities;
  bool json = false;
};
[[nodiscard]] int runVerify(const VerifyOptions& options);

struct ShowOptions {
  std::vector<std::string> files;
  bool json = false;
};
[[nodiscard]] int runShow(const ShowOptions& options);

struct PasswdOptions {
  std::string propertyFile;
  bool stored = false;
};
[[nodiscard]] int runPasswd(const PasswdOptions& options);

[[nodiscard]] int runCheck(const CommonOptions& options);

struct InitOptions {
  std::string folder;
  bool demo = false;
};
[[nodiscard]] int runInit(const InitOptions& options);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_H_
