// Small operations on texts that several modules share.
#ifndef ZEPASIGN_BASE_TEXT_H_
#define ZEPASIGN_BASE_TEXT_H_

#include <string>
#include <string_view>

namespace zepasign {

// equalsIgnoreCase: whether two NUL-terminated texts are equal after the C library's toupper; false when either is
// null.
[[nodiscard]] bool equalsIgnoreCase(const char* a, const char* b) noexcept;

// toAsciiLower: the letter in lower case whatever the locale; other bytes unchanged.
[[nodiscard]] constexpr char toAsciiLower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// isBlank: a space or a control character. Bytes of 0x80 and above belong to Big5 characters and are none.
[[nodiscard]] constexpr bool isBlank(char c) noexcept { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; }

// trim: the text without blanks at its ends; an all-blank text becomes empty.
[[nodiscard]] std::string_view trim(std::string_view text) noexcept;

// isUtf8: whether the whole text is UTF-8 (RFC 3629: no overlong form, no surrogate). ASCII is.
[[nodiscard]] bool isUtf8(std::string_view text) noexcept;

// isEmpty: whether a C string from outside holds nothing: null or "".
[[nodiscard]] inline bool isEmpty(const char* text) noexcept { return text == nullptr || *text == '\0'; }

// appendPadded: appends a decimal number, filled up with zeros to `width` characters as "%0*d" does.
void appendPadded(std::string& text, int number, int width);

// dateText: the 14 digits YYYYMMDDhhmmss in which dates are logged and compared.
[[nodiscard]] std::string dateText(int year, int month, int day, int hour, int minute, int second);

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_TEXT_H_
