#include "tools/commands/command_line.h"

#include <sstream>

#include "api/ZEPASignDLL.h"
#include "tools/terminal/io.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

// kLabels: the parser's own words.
constexpr Message kLabels[] = {"Usage"_m, "OPTIONS"_m, "SUBCOMMAND"_m, "Positionals"_m, "REQUIRED"_m, "Excludes"_m};

void addHelp(CLI::App* command) { command->set_help_flag("-h,--help", helpText("print this help and exit"_m)); }

}  // namespace

CommandLine::CommandLine() : app_(helpText("PKCS#7 signatures with a key from a PFX file"_m), "zepasign") {
  app_.require_subcommand(1);
  app_.option_defaults()->group(helpText("Options"_m));
  for (const Message& label : kLabels) app_.get_formatter()->label(std::string(label.english), helpText(label));
  app_.get_formatter()->label("TEXT", helpText("PATH"_m));
  addHelp(&app_);
  app_.set_version_flag("--version", std::string("zepasign ") + GetPkiVersion(),
                        helpText("print the version and exit"_m));
}

CLI::App* CommandLine::add(const char* name, const Message& description, Action action) {
  CLI::App* command = app_.add_subcommand(name, helpText(description));
  command->final_callback([this, action = std::move(action)] { chosen_ = action; });
  command->group(helpText("Subcommands"_m));
  addHelp(command);
  return command;
}

int CommandLine::parse(int argc, char** argv) {
  try {
    app_.parse(argc, argv);
    return kOk;
  } catch (const CLI::ParseError& failure) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = app_.exit(failure, out, err);
    printBytes(out.str());
    if (code == 0) return kOk;
    printError(tr("wrong command line: {0}"_m, {failure.what()}));
    printError(tr("zepasign --help tells more"_m));
    return kUsage;
  }
}

std::string helpText(const Message& text) { return toTerminal(tr(text)); }

void addPropertyFile(CLI::App* command, std::string& file) {
  command->add_option("-c,--config", file, helpText("property file"_m))->required();
}

void addJson(CLI::App* command, bool& json) { command->add_flag("--json", json, helpText("print JSON"_m)); }

void addCommon(CLI::App* command, CommonOptions& options) {
  addPropertyFile(command, options.propertyFile);
  command->add_option("--enced-file", options.encedFile,
                      helpText("file with the encrypted PFX password (PSWD.authKey)"_m));
  addJson(command, options.json);
}

}  // namespace zepasign::tools
