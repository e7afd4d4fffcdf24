// The parser reports a mistake as one English sentence. Each sentence that this program can get stands here as a
// pattern beside the message that replaces it; the words at the places {0}, {1} of the pattern fill the same places of
// the message.
#include "tools/commands/parser_texts.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/spelling.h"

namespace zepasign::tools {
namespace {

// kLabels: the parser's own words in its help.
constexpr Message kLabels[] = {"Usage"_m,    "OPTIONS"_m,  "SUBCOMMAND"_m, "Positionals"_m,
                               "REQUIRED"_m, "Excludes"_m, "Needs"_m};

struct Sentence {
  std::string_view pattern;
  Message message;
};

// kSentences: the first pattern that fits counts.
constexpr Sentence kSentences[] = {{"A subcommand is required", "name a sub-command"_m},
                                   {"{0} is required", "{0} is missing"_m},
                                   {"{0} excludes {1}", "{0} and {1} cannot be used together"_m},
                                   {"{0} requires {1}", "{0} can only be used with {1}"_m},
                                   {"{0}: {1} required {2} missing", "{0} needs a value"_m},
                                   {"{0}: At Most {1} required but received {2}", "{0} is given more than once"_m},
                                   {"{0} was given a disallowed flag override", "--{0} takes no value"_m},
                                   {"Could not convert: {0} = {1}", "{0}: {1} is not a valid value"_m}};

// match: the words at the places of the pattern, in the order of the places; nothing when the sentence does not fit.
std::optional<std::vector<std::string>> match(std::string_view pattern, std::string_view sentence) {
  constexpr std::size_t kPlaceLength = 3;
  std::vector<std::string> words;
  std::size_t place = pattern.find('{');
  if (pattern.substr(0, place) != sentence.substr(0, place)) return std::nullopt;
  while (place != std::string_view::npos) {
    sentence.remove_prefix(std::min(place, sentence.size()));
    pattern.remove_prefix(place + kPlaceLength);
    place = pattern.find('{');
    const std::string_view literal = pattern.substr(0, place);
    const std::size_t end = literal.empty() ? sentence.size() : sentence.find(literal);
    if (end == std::string_view::npos) return std::nullopt;
    words.emplace_back(sentence.substr(0, end));
    sentence.remove_prefix(end);
  }
  return words;
}

// translated: in the user's language, or as it is when no pattern fits.
std::string translated(const std::string& sentence) {
  for (const Sentence& each : kSentences) {
    std::optional<std::vector<std::string>> words = match(each.pattern, sentence);
    if (!words) continue;
    words->resize(2);
    return tr(each.message, {(*words)[0], (*words)[1]});
  }
  return sentence;
}

// maxEditsOf: how far a known word may lie from a mistyped one of that length.
std::size_t maxEditsOf(const std::string& word) { return std::clamp<std::size_t>(word.size() / 2, 1, 3); }

std::vector<std::string> optionNames(const CLI::App* command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command->get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// commandNames: of the sub-commands that the help lists, or of all.
std::vector<std::string> commandNames(const CLI::App& app, bool hiddenToo) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) {
    if (hiddenToo || !command->get_group().empty()) names.push_back(command->get_name());
  }
  return names;
}

// extrasText: about the arguments that no option and no positional took: the first unknown option, if it is near a
// known one, else all; empty when there are none.
std::string extrasText(const CLI::App& app) {
  std::string all;
  for (const CLI::App* command : app.get_subcommands()) {
    for (const std::string& argument : command->remaining()) {
      const std::string text = fromTerminal(argument);
      const std::string nearest = nearestWord(argument, optionNames(command), maxEditsOf(argument));
      if (argument.starts_with('-') && !nearest.empty())
        return tr("unknown option {0}: is {1} meant?"_m, {text, nearest});
      all.append(" ").append(text);
    }
  }
  return all.empty() ? "" : tr("unexpected:{0}"_m, {all});
}

// columnsOf: how many columns the UTF-8 text takes: two for each character from U+2E80 on (Chinese characters and
// their punctuation), which in UTF-8 begins with E2 BA or more.
std::size_t columnsOf(const std::string& utf8) {
  std::size_t columns = 0;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    const bool continues = (byte & 0xC0U) == 0x80;
    const bool isWide = byte > 0xE2 || (byte == 0xE2 && static_cast<unsigned char>(utf8[i + 1]) >= 0xBA);
    if (!continues) columns += isWide ? 2 : 1;
  }
  return columns;
}

}  // namespace

HelpFormatter::HelpFormatter() {
  for (const Message& each : kLabels) label(std::string(each.english), toTerminal(tr(each)));
  label("TEXT", toTerminal(tr("PATH"_m)));
  label("UINT", "N");
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  return row(make_option_name(option, isPositional) + make_option_opts(option), make_option_desc(option));
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
  return row(command->get_name(), command->get_description());
}

std::string HelpFormatter::row(const std::string& name, const std::string& description) const {
  const std::size_t width = get_column_width();
  const std::size_t taken = 2 + columnsOf(fromTerminal(name));
  const std::string gap = taken < width ? std::string(width - taken, ' ') : "\n" + std::string(width, ' ');
  return "  " + name + gap + description + "\n";
}

std::string mistakeText(const CLI::App& app, const CLI::ParseError& failure) {
  const std::string extras = extrasText(app);
  return extras.empty() ? translated(fromTerminal(failure.what())) : extras;
}

std::string unknownCommandText(const CLI::App& app, const std::string& argument) {
  const std::vector<std::string> all = commandNames(app, true);
  if (argument.starts_with('-') || std::find(all.begin(), all.end(), argument) != all.end()) return {};
  const std::string nearest = nearestWord(argument, commandNames(app, false), maxEditsOf(argument));
  if (!nearest.empty()) return tr("unknown sub-command {0}: is {1} meant?"_m, {fromTerminal(argument), nearest});
  return tr("unknown sub-command {0}"_m, {fromTerminal(argument)});
}

}  // namespace zepasign::tools
