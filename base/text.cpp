#include "base/text.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace zepasign {
namespace {

// utf8Size: bytes of the character that this byte begins, 0 when none does.
std::size_t utf8Size(unsigned first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

// lowestSecond, highestSecond: the range of the second byte, which is narrower after four first bytes.
unsigned lowestSecond(unsigned first) { return first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80; }
unsigned highestSecond(unsigned first) { return first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF; }

}  // namespace

bool equalsIgnoreCase(const char* a, const char* b) noexcept {
  if (a == nullptr || b == nullptr || std::strlen(a) != std::strlen(b)) return false;
  const auto upper = [](char c) { return std::toupper(static_cast<unsigned char>(c)); };
  for (; *a != '\0'; ++a, ++b) {
    if (upper(*a) != upper(*b)) return false;
  }
  return true;
}

std::string_view trim(std::string_view text) noexcept {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (text.size() > 1 && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool isUtf8(std::string_view text) noexcept {
  const auto at = [&text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  while (!text.empty()) {
    const std::size_t size = utf8Size(at(0));
    const unsigned second = at(1);
    if (size == 0 || (size > 1 && (second < lowestSecond(at(0)) || second > highestSecond(at(0))))) return false;
    for (std::size_t i = 2; i < size; ++i) {
      if (at(i) < 0x80 || at(i) > 0xBF) return false;
    }
    text.remove_prefix(size);
  }
  return true;
}

void appendPadded(std::string& text, int number, int width) {
  char digits[24];
  std::snprintf(digits, sizeof digits, "%0*d", width, number);
  text += digits;
}

std::string dateText(int year, int month, int day, int hour, int minute, int second) {
  std::string text;
  appendPadded(text, year, 4);
  for (int part : {month, day, hour, minute, second}) appendPadded(text, part, 2);
  return text;
}

}  // namespace zepasign
