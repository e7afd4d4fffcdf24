// What the option parser says, in the user's language: the layout of its help, and its complaints about arguments.
// All texts that go into the parser or come out of it are in the terminal's encoding.
#ifndef ZEPASIGN_TOOLS_COMMANDS_PARSER_TEXTS_H_
#define ZEPASIGN_TOOLS_COMMANDS_PARSER_TEXTS_H_

#include <CLI/CLI.hpp>
#include <string>

namespace zepasign::tools {

// HelpFormatter: the parser's own layout of the help, with columns that line up behind double-width characters.
class HelpFormatter final : public CLI::Formatter {
 public:
  HelpFormatter();

  // make_option, make_subcommand: called by the parser for each line of the help.
  [[nodiscard]] std::string make_option(const CLI::Option* option, bool isPositional) const override;
  [[nodiscard]] std::string make_subcommand(const CLI::App* command) const override;

 private:
  // row: one line of the help; the description goes to a line of its own when the name does not fit its column.
  [[nodiscard]] std::string row(const std::string& name, const std::string& description) const;
};

// mistakeText: what is wrong with the arguments that `app` refused (UTF-8); names the option or sub-command that a
// misspelt one probably means. A mistake for which there is no translation is returned as the parser words it, in
// English.
[[nodiscard]] std::string mistakeText(const CLI::App& app, const CLI::ParseError& failure);

// unknownCommandText: the same for a first argument that should name a sub-command but names none; empty when it does,
// or when it is an option.
[[nodiscard]] std::string unknownCommandText(const CLI::App& app, const std::string& argument);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_PARSER_TEXTS_H_
