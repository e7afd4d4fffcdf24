#include "tools/commands/command_line.h"

#include <charconv>
#include <sstream>

#include "base/text.h"
#include "tools/commands/parser_texts.h"
#include "tools/commands/version.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {
namespace {

void addHelp(CLI::App* command) { command->set_help_flag("-h,--help", helpText("print this help and exit"_m)); }

int refuse(const std::string& mistake) {
  printError(tr("wrong command line: {0}"_m, {mistake}));
  printError(tr("zepasign --help tells more"_m));
  return kUsage;
}

}  // namespace

CommandLine::CommandLine() : app_(helpText("PKCS#7 signatures with a key from a PFX file"_m), "zepasign") {
  app_.require_subcommand(1);
  app_.option_defaults()->group(helpText("Options"_m));
  app_.formatter(std::make_shared<HelpFormatter>());
  app_.footer(helpText("zepasign SUBCOMMAND --help tells more, with examples"_m));
  addHelp(&app_);
  app_.set_version_flag("--version", versionText, helpText("print the version and exit"_m));
}

CLI::App* CommandLine::add(const char* name, const Message& description, Action action) {
  CLI::App* command = app_.add_subcommand(name, helpText(description));
  command->final_callback([this, action = std::move(action)] { chosen_ = action; });
  command->group(helpText("Subcommands"_m));
  addHelp(command);
  return command;
}

int CommandLine::parse(int argc, char** argv) {
  const std::string mistake = argc > 1 ? unknownCommandText(app_, argv[1]) : "";
  if (!mistake.empty()) return refuse(mistake);
  try {
    app_.parse(argc, argv);
    return kOk;
  } catch (const CLI::ParseError& failure) {
    if (failure.get_exit_code() != 0) return refuse(mistakeText(app_, failure));
    std::ostringstream out;
    app_.exit(failure, out, out);
    printBytes(out.str());
    return kOk;
  }
}

std::string helpText(const Message& text, std::initializer_list<std::string> arguments) {
  return toTerminal(tr(text, arguments));
}

void addExamples(CLI::App* command, std::initializer_list<Example> examples) {
  std::string text = tr("Examples"_m) + ":";
  for (const Example& each : examples) {
    text.append("\n  # ").append(tr(each.purpose)).append("\n  ").append(each.command);
  }
  command->footer(toTerminal(text));
}

std::function<std::string(const std::string&)> oneOf(std::vector<std::string> words) {
  return [words = std::move(words)](const std::string& value) -> std::string {
    std::string list;
    for (const std::string& word : words) {
      if (equalsIgnoreCase(word.c_str(), value.c_str())) return {};
      list.append(list.empty() ? "" : ", ").append(word);
    }
    return helpText("write one of {0}"_m, {list});
  };
}

std::function<std::string(const std::string&)> numberBetween(unsigned min, unsigned max) {
  return [min, max](const std::string& value) -> std::string {
    unsigned number = 0;
    const char* end = value.data() + value.size();
    const auto read = std::from_chars(value.data(), end, number);
    if (read.ec == std::errc() && read.ptr == end && number >= min && number <= max) return {};
    return helpText("write a number from {0} to {1}"_m, {std::to_string(min), std::to_string(max)});
  };
}

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
