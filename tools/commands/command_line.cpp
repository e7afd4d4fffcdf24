#include "tools/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <sstream>

#include "tools/commands/parser_texts.h"
#include "tools/commands/version.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {
namespace {

void addHelp(CLI::App* command) { command->set_help_flag("-h,--help", helpText("print this help and exit"_m)); }

int refuse(const std::string& mistake) {
  printError(tr("wrong command line: {0}"_m, {mistake}));
  printError(tr("see zepasign --help"_m));
  return kUsage;
}

}  // namespace

CommandLine::CommandLine()
    : parser_(std::make_unique<CLI::App>(helpText("PKCS#7 signatures with a key from a PFX file"_m), "zepasign")) {
  parser_->require_subcommand(1);
  parser_->option_defaults()->group(helpText("Options"_m));
  parser_->formatter(std::make_shared<HelpFormatter>());
  parser_->footer(helpText("see zepasign SUBCOMMAND --help for details and examples"_m));
  addHelp(parser_.get());
  parser_->set_version_flag("--version", versionText, helpText("print the version and exit"_m));
}

CommandLine::~CommandLine() = default;

Command CommandLine::add(const char* name, const Message& description, Action action) {
  CLI::App* command = parser_->add_subcommand(name, helpText(description));
  command->final_callback([this, action = std::move(action)] { chosen_ = action; });
  command->group(helpText("Subcommands"_m));
  addHelp(command);
  return Command(command);
}

int CommandLine::parse(int argc, char** argv) {
  const std::string mistake = argc > 1 ? unknownCommandText(*parser_, argv[1]) : "";
  if (!mistake.empty()) return refuse(mistake);
  try {
    parser_->parse(argc, argv);
    return kOk;
  } catch (const CLI::ParseError& failure) {
    if (failure.get_exit_code() != 0) return refuse(mistakeText(*parser_, failure));
    std::ostringstream out;
    parser_->exit(failure, out, out);
    printBytes(out.str());
    return kOk;
  }
}

void addPropertyFile(const Command& command, std::string& file) {
  command.add("-c,--config", file, "property file"_m).required();
}

Option addJson(const Command& command, bool& json) { return command.add("--json", json, "print JSON"_m); }

Option addCommon(const Command& command, CommonOptions& options) {
  addPropertyFile(command, options.propertyFile);
  command.add("--enced-file", options.encedFile, "file with the encrypted PFX password (PSWD.authKey)"_m);
  return addJson(command, options.json);
}

}  // namespace zepasign::tools
