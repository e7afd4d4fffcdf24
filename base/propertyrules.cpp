// How shownKey tells a key from a secret that was typed into it: in "PFX.pswdB64: rx6O...==" the first "=" is the
// Base64 padding, so the key is everything before it, the secret included. What follows the secret word counts as part
// of the key's name when it is short and has only letters, digits, ".", "_" and "-" ("PFX.password", "PSWD.licence");
// otherwise it is cut off.
#include "base/propertyrules.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <stdexcept>

#include "base/propertykeys.h"
#include "base/text.h"

namespace zepasign {
namespace {

constexpr std::string_view kMask = "********";
constexpr std::string_view kSecretWords[] = {"pswd", "psw", "passw", "pwd", "licen", "authkey"};
// kMaxNameRest: characters of a key's name after its secret word. An encrypted password has at least 22, the Base64 of
// one AES block without its padding.
constexpr std::size_t kMaxNameRest = 16;

constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr bool isNameCharacter(char c) {
  const char lower = toAsciiLower(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
}

// endOfSecretWord: the position behind the first secret word, npos without one. Of two that begin at one place, the
// longer stands first in the list and counts.
std::size_t endOfSecretWord(std::string_view key) noexcept {
  std::size_t end = std::string_view::npos;
  auto first = key.end();
  for (const std::string_view word : kSecretWords) {
    const auto found = std::search(key.begin(), key.end(), word.begin(), word.end(),
                                   [](char a, char b) { return toAsciiLower(a) == b; });
    if (found >= first) continue;
    first = found;
    end = static_cast<std::size_t>(found - key.begin()) + word.size();
  }
  return end;
}

}  // namespace

bool PropertyLines::next(PropertyLine& line) noexcept {
  if (rest_.empty()) return false;
  const std::string_view text = rest_.substr(0, rest_.find('\n'));
  rest_.remove_prefix(std::min(text.size() + 1, rest_.size()));
  line = PropertyLine{.number = ++number_, .isTooLong = text.size() > keys::kMaxLineLength, .key = {}, .value = {}};
  if (text.starts_with('#') || text.starts_with(';')) return true;
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    if (!std::all_of(text.begin(), text.end(), isBlank)) line.kind = PropertyLine::Kind::kNoPair;
    return true;
  }
  line.kind = PropertyLine::Kind::kPair;
  line.key = trim(text.substr(0, equals));
  line.value = trim(text.substr(equals + 1));
  return true;
}

// As std::stoi, with texts of our own since those of the standard libraries differ, and without their locale.
int toInt(const std::string& value) {
  const char* start = value.c_str();
  while (isSpace(*start)) ++start;
  char* end = nullptr;
  errno = 0;
  const long long number = std::strtoll(start, &end, 10);
  if (end == start) throw std::invalid_argument("invalid stoi argument");
  if (errno == ERANGE || number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
    throw std::out_of_range("stoi argument out of range");
  }
  return static_cast<int>(number);
}

bool isSecretKey(std::string_view key) noexcept { return endOfSecretWord(key) != std::string_view::npos; }

std::string shownKey(std::string_view key) {
  const std::size_t end = endOfSecretWord(key);
  if (end == std::string_view::npos) return std::string(key);
  const std::string_view rest = key.substr(end);
  if (rest.size() <= kMaxNameRest && std::all_of(rest.begin(), rest.end(), isNameCharacter)) return std::string(key);
  return std::string(key.substr(0, end)).append(kMask);
}

std::string_view shownValue(std::string_view key, std::string_view value) noexcept {
  return isSecretKey(key) ? kMask : value;
}

}  // namespace zepasign
