// CommandLine: the parser of the arguments, to which each sub-command adds itself in its own file.
//
// A program makes a CommandLine, adds the sub-commands, and calls `parse` and then `run`. An added sub-command keeps
// its options in an object that its action shares, so that they live as long as the CommandLine; the parser fills them
// in.
//
// Thread rule: the main thread. REQUIRES: the language is chosen (see useChinese) before the CommandLine is made, since
// the texts of the help are fixed then.
#ifndef ZEPASIGN_TOOLS_COMMANDS_COMMAND_LINE_H_
#define ZEPASIGN_TOOLS_COMMANDS_COMMAND_LINE_H_

#include <functional>
#include <memory>
#include <string>

#include "tools/commands/options.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

// ExitCode: how every sub-command ends.
enum ExitCode {
  kOk = 0,
  kFailed = 1,          // a file failed, a signature is not valid, or something must be corrected
  kUsage = 2,           // the command line is wrong
  kNotInitialised = 3,  // the library does not initialise with this property file
  // verify, when that is what is wrong with all signatures that are not valid:
  kChanged = 4,   // content or signature was changed
  kExpired = 5,   // a certificate has expired, or is not valid yet
  kRevoked = 6,   // a certificate is revoked
  kUntrusted = 7  // no path to a trusted certificate
};

// CommonOptions: shared by the sub-commands that initialise the library. `encedFile` holds the password that
// ZEPASignInitial takes beside a property file with PSWD.authKey, as "zepasign passwd" printed it. File names are bytes
// in the encoding of the terminal.
struct CommonOptions {
  std::string propertyFile;
  std::string encedFile;
  bool json = false;
};

class CommandLine final {
 public:
  // Action: carries out a sub-command with the options that the parser has filled in; returns an ExitCode.
  using Action = std::function<int()>;

  CommandLine();
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // add: a new sub-command with a --help of its own. `action` becomes the chosen one when the arguments name it. The
  // result is valid as long as this object. REQUIRES: `parse` was not called yet.
  [[nodiscard]] Command add(const char* name, const Message& description, Action action);

  // parse: reads the arguments. Help and version go to the standard output, errors to the standard error. Returns an
  // ExitCode; `run` is only to be called after kOk.
  [[nodiscard]] int parse(int argc, char** argv);
  // run: carries out the chosen sub-command; kOk when there is none (--help, --version).
  [[nodiscard]] int run() const { return chosen_ ? chosen_() : kOk; }

 private:
  // chosen_: the action of the sub-command that was parsed; empty before, and after --help and --version.
  std::unique_ptr<CLI::App> parser_;
  Action chosen_;
};

// addPropertyFile, addJson, addCommon: options that several sub-commands have. addPropertyFile adds -c (--config),
// which must be given; addJson adds --json; addCommon adds both and --enced-file and returns --json.
void addPropertyFile(const Command& command, std::string& file);
Option addJson(const Command& command, bool& json);
Option addCommon(const Command& command, CommonOptions& options);

// The sub-commands, each defined in the file of its name.
void addSign(CommandLine& line);
void addStamp(CommandLine& line);
void addVerify(CommandLine& line);
void addShow(CommandLine& line);
void addPasswd(CommandLine& line);
void addCheck(CommandLine& line);
void addInit(CommandLine& line);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_COMMAND_LINE_H_
