#include <windows.h>

#include <stdexcept>

#include "tests/support/files.h"

namespace zepasign::testing {

std::string big5(const std::string& utf8) {
  if (utf8.empty()) return {};
  const int size = static_cast<int>(utf8.size());
  std::wstring wide(utf8.size(), L'\0');
  const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), size, wide.data(), size);
  std::string text(utf8.size(), '\0');
  BOOL replaced = FALSE;
  const int bytes = WideCharToMultiByte(950, 0, wide.data(), length, text.data(), size, nullptr, &replaced);
  if (bytes == 0 || replaced) throw std::runtime_error("not in code page 950: " + utf8);
  text.resize(static_cast<std::size_t>(bytes));
  return text;
}

}  // namespace zepasign::testing
