#include "base/text.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "base/platform.h"

namespace zepasign {

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

std::string localDateText() {
  const platform::LocalTime t = platform::now();
  return dateText(t.year, t.month, t.day, t.hour, t.minute, t.second);
}

}  // namespace zepasign
