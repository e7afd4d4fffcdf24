// The rules by which a property file is read, shared by the library (cProperty) and the command line, which must say
// in which line something is wrong: what a line means, how a number is read, and what must not be shown of a secret.
//
//   # a comment (also ;), only in the first column
//   PFX.path = /etc/zepasign        blanks around key and value are dropped, further "=" belong to the value
//
// Keys and values are the bytes of the file. Nothing here depends on the process's locale.
#ifndef ZEPASIGN_BASE_PROPERTYRULES_H_
#define ZEPASIGN_BASE_PROPERTYRULES_H_

#include <string>
#include <string_view>

namespace zepasign {

// PropertyLine: one line. `key` and `value` are trimmed and point into the text; they are set for a kPair only.
struct PropertyLine {
  enum class Kind {
    kPair,    // key = value; the key may be empty
    kNone,    // empty, blank, or a comment
    kNoPair,  // something else without "=", which is ignored
  };
  int number = 0;  // counts from 1
  Kind kind = Kind::kNone;
  bool isTooLong = false;  // more than keys::kMaxLineLength bytes: the whole file is refused
  std::string_view key;
  std::string_view value;
};

// PropertyLines: the lines of a text one after the other. The text ends at its first NUL and must outlive the object.
class PropertyLines final {
 public:
  explicit PropertyLines(std::string_view text) noexcept : rest_(text.substr(0, text.find('\0'))) {}

  // next: reads the next line; false, and `line` unchanged, when there is none.
  [[nodiscard]] bool next(PropertyLine& line) noexcept;

 private:
  std::string_view rest_;
  int number_ = 0;
};

// toInt: the decimal number at the start of the value, after white space and a sign; what follows the digits is
// ignored. Throws std::invalid_argument ("invalid stoi argument") when there is no digit and std::out_of_range ("stoi
// argument out of range") beyond 32 bits. Callers show these texts.
[[nodiscard]] int toInt(const std::string& value);

// isSecretKey: whether the value of this key must not be shown. A key is secret when it contains one of a few words
// (pswd, licen, ...) in any letter case, so that a mistyped key hides its value too.
[[nodiscard]] bool isSecretKey(std::string_view key) noexcept;

// shownKey: the key as logs and terminals show it. Normally the key itself; but in "PFX.pswd: secret=..." the secret is
// part of the key, so there the result ends after the secret word, with ********.
[[nodiscard]] std::string shownKey(std::string_view key);

// shownValue: the value as logs and terminals show it: ******** when the key is secret.
[[nodiscard]] std::string_view shownValue(std::string_view key, std::string_view value) noexcept;

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_PROPERTYRULES_H_
