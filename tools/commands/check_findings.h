// Findings: what zepasign check found out. All that it can say is one list, check_findings.inc; a finding is chosen by
// its id at compile time, and an id that is not in the list is a compile error. docs/check.md explains the list to
// operators, and a test holds both against each other.
//
// Thread rule: one thread.
#ifndef ZEPASIGN_TOOLS_COMMANDS_CHECK_FINDINGS_H_
#define ZEPASIGN_TOOLS_COMMANDS_CHECK_FINDINGS_H_

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "tools/files/propertyfile.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

// Levels: "good" says what is in order, a "warning" what may surprise, an "error" what must be corrected.
inline constexpr std::string_view kGoodLevel = "good";
inline constexpr std::string_view kWarningLevel = "warning";
inline constexpr std::string_view kErrorLevel = "error";

// FindingKind: one kind of finding. `id` is printed in JSON and stands in docs/check.md. {0} to {9} in the text stand
// for the arguments. `command` is a shell command that corrects the fault or shows more, empty when there is none; only
// {0} to {3} may occur in it, and its arguments are quoted for the shell.
struct FindingKind {
  // The members refer to literals, which live as long as the program.
  std::string_view id;
  std::string_view level;
  Message text;
  std::string_view command = {};
};

// kFindingKinds: the list. No two rows have one id. A row is an id, a level, a text in both languages, and a command if
// there is one. To explain it, docs/check.md has a row with the same id.
inline constexpr FindingKind kFindingKinds[] = {
#include "tools/commands/check_findings.inc"
};

// _finding: the row of that id, as in "signer-expired"_finding.
consteval const FindingKind& operator""_finding(const char* id, std::size_t length) {
  for (const FindingKind& each : kFindingKinds) {
    if (each.id == std::string_view(id, length)) return each;
  }
  throw "add the finding to check_findings.inc";
}

// Figures: the numbers behind a finding, for programs: whole days until the moment that it speaks of (negative: since),
// and a verification error of the crypto library (X509_V_ERR_...). Both are left out of the JSON when they have no
// value.
struct Figures {
  std::optional<int> days = {};
  std::optional<int> verifyCode = {};
};

// Arguments: for the places {0} to {9} of text and command, UTF-8.
using Arguments = std::initializer_list<std::string>;

// Findings: collects the findings of one check in the order in which they are added, already in the user's language. A
// key that is part secret is shortened before it is stored.
class Findings final {
 public:
  // Findings: REQUIRES: `properties` outlives this object; it knows the lines of the keys. The object keeps copies of
  // the arguments of `add`, already put into the text.
  explicit Findings(const PropertyText& properties) : properties_(properties) {}

  // add: about a key, at the line where it is set, or at no line when it is missing. The
  // key is shown without what may be secret in it.
  void add(const FindingKind& kind, const std::string& key, Arguments arguments = {}, const Figures& figures = {}) {
    addAtLine(properties_.line(key), kind, key, arguments, figures);
  }
  // addAtLine: about a line, 0 for the file as a whole. Lines count from 1.
  void addAtLine(int line, const FindingKind& kind, const std::string& key, Arguments arguments = {},
                 const Figures& figures = {});

  // hasErrors, hasWarnings: whether a finding of that level was added. They decide on the exit code of the command: an
  // error always makes it fail, a warning only with --strict.
  [[nodiscard]] bool hasErrors() const noexcept { return hasErrors_; }
  [[nodiscard]] bool hasWarnings() const noexcept { return hasWarnings_; }
  // list: in the order of the calls; of each the id, level, line, key and message, and command, days and verifyCode
  // when there are any. The result is borrowed from this object.
  [[nodiscard]] const Json& list() const noexcept { return list_; }

 private:
  const PropertyText& properties_;
  // list_: a JSON array with one object for each finding.
  Json list_ = Json::array();
  bool hasErrors_ = false;
  bool hasWarnings_ = false;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_CHECK_FINDINGS_H_
