// Options of a sub-command, as every sub-command declares them in its own file. Only options.cpp and command_line.cpp
// know the parser behind them, whose header takes longer to compile than all the rest of a source.
//
// Command and Option are handles: copies name the same sub-command or option, which the CommandLine owns. A variable
// that is given to `add` is written by CommandLine::parse and must live until then.
//
// Thread rule: the main thread.
#ifndef ZEPASIGN_TOOLS_COMMANDS_OPTIONS_H_
#define ZEPASIGN_TOOLS_COMMANDS_OPTIONS_H_

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "tools/terminal/messages.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace zepasign::tools {

// helpText: a text of the help, in the user's language and the terminal's encoding.
[[nodiscard]] std::string helpText(const Message& text, std::initializer_list<std::string> arguments = {});

// Check: whether the user may write this value; empty when so, else what to write (a helpText).
using Check = std::function<std::string(const std::string&)>;
// oneOf, numberBetween: the usual checks. The letter case of words does not matter; both limits of a number are
// allowed. (The parser's own checks would show English texts and C++ types in the help.)
[[nodiscard]] Check oneOf(std::vector<std::string> words);
[[nodiscard]] Check numberBetween(unsigned min, unsigned max);

// kMaxDays: of options that take a number of days: a hundred years.
inline constexpr unsigned kMaxDays = 36'500;

class Option final {
 public:
  explicit Option(CLI::Option* option) noexcept : option_(option) {}

  // Each returns this option, so that calls can follow one another. `valueName` is shown in the help for the value.
  const Option& required() const;
  const Option& valueName(const std::string& name) const;
  const Option& check(Check check) const;
  const Option& excludes(const Option& other) const;
  const Option& needs(const Option& other) const;

 private:
  CLI::Option* option_;
};

// Example: a command as users type it, and what it is for.
struct Example {
  Message purpose;
  const char* command;
};

class Command final {
 public:
  explicit Command(CLI::App* command) noexcept : command_(command) {}

  // add: an option with these names ("-o,--output"); without hyphens the arguments that belong to no option. A list
  // takes one value each time its option is named, and as an argument all that there are.
  Option add(const std::string& names, std::string& value, const Message& description) const;
  Option add(const std::string& names, std::vector<std::string>& values, const Message& description) const;
  Option add(const std::string& names, unsigned& value, const Message& description) const;
  // add: a flag, which takes no value.
  Option add(const std::string& names, bool& flag, const Message& description) const;

  // addExamples: ends the sub-command's --help with them. Give every sub-command two to four, the commonest first.
  void addExamples(std::initializer_list<Example> examples) const;

 private:
  CLI::App* command_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_OPTIONS_H_
