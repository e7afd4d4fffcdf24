#include "tools/commands/check_findings.h"

#include <iterator>
#include <vector>

#include "base/propertyrules.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

consteval bool allIdsDiffer() {
  for (const FindingKind& each : kFindingKinds) {
    for (const FindingKind* other = &each + 1; other != std::end(kFindingKinds); ++other) {
      if (each.id == other->id) return false;
    }
  }
  return true;
}
static_assert(allIdsDiffer());

// quoted: as one word of the shell.
std::string quoted(const std::string& word) {
  constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:,@%";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string text = "'";
  for (const char c : word) text += c == '\'' ? R"('\'')" : std::string(1, c);
  return text + "'";
}

std::string commandText(std::string_view command, Arguments arguments) {
  std::vector<std::string> words;
  for (const std::string& each : arguments) words.push_back(quoted(each));
  words.resize(4);  // of which a command uses some
  return tr({command, command}, {words[0], words[1], words[2], words[3]});
}

}  // namespace

void Findings::addAtLine(int line, const FindingKind& kind, const std::string& key, Arguments arguments,
                         const Figures& figures) {
  Json finding = {{"id", kind.id},
                  {"level", kind.level},
                  {"line", line},
                  {"key", toUtf8(shownKey(key))},
                  {"message", tr(kind.text, arguments)}};
  if (!kind.command.empty()) finding["command"] = commandText(kind.command, arguments);
  if (figures.days) finding["days"] = *figures.days;
  if (figures.verifyCode) finding["verifyCode"] = *figures.verifyCode;
  list_.push_back(std::move(finding));
  hasErrors_ = hasErrors_ || kind.level == kErrorLevel;
  hasWarnings_ = hasWarnings_ || kind.level == kWarningLevel;
}

}  // namespace zepasign::tools
