#include "tools/commands/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <utility>

#include "base/text.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {

std::string helpText(const Message& text, std::initializer_list<std::string> arguments) {
  return toTerminal(tr(text, arguments));
}

Check oneOf(std::vector<std::string> words) {
  return [words = std::move(words)](const std::string& value) -> std::string {
    std::string list;
    for (const std::string& word : words) {
      if (equalsIgnoreCase(word.c_str(), value.c_str())) return {};
      list.append(list.empty() ? "" : ", ").append(word);
    }
    return helpText("write one of {0}"_m, {list});
  };
}

Check numberBetween(unsigned min, unsigned max) {
  return [min, max](const std::string& value) -> std::string {
    unsigned number = 0;
    const char* end = value.data() + value.size();
    const auto read = std::from_chars(value.data(), end, number);
    if (read.ec == std::errc() && read.ptr == end && number >= min && number <= max) return {};
    return helpText("write a number from {0} to {1}"_m, {std::to_string(min), std::to_string(max)});
  };
}

const Option& Option::required() const {
  option_->required();
  return *this;
}

const Option& Option::valueName(const std::string& name) const {
  option_->type_name(name);
  return *this;
}

const Option& Option::check(Check check) const {
  option_->check(std::move(check));
  return *this;
}

const Option& Option::excludes(const Option& other) const {
  option_->excludes(other.option_);
  return *this;
}

const Option& Option::needs(const Option& other) const {
  option_->needs(other.option_);
  return *this;
}

Option Command::add(const std::string& names, std::string& value, const Message& description) const {
  return Option(command_->add_option(names, value, helpText(description)));
}

Option Command::add(const std::string& names, std::vector<std::string>& values, const Message& description) const {
  CLI::Option* option = command_->add_option(names, values, helpText(description));
  if (!option->get_positional()) option->allow_extra_args(false);
  return Option(option);
}

Option Command::add(const std::string& names, unsigned& value, const Message& description) const {
  return Option(command_->add_option(names, value, helpText(description)));
}

Option Command::add(const std::string& names, bool& flag, const Message& description) const {
  return Option(command_->add_flag(names, flag, helpText(description))->disable_flag_override());
}

void Command::addExamples(std::initializer_list<Example> examples) const {
  std::string text = tr("Examples"_m) + ":";
  for (const Example& each : examples) {
    text.append("\n  # ").append(tr(each.purpose)).append("\n  ").append(each.command);
  }
  command_->footer(toTerminal(text));
}

}  // namespace zepasign::tools
