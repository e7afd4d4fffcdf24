#include "tools/terminal/encoding.h"

#include <windows.h>

#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

constexpr UINT kBig5 = 950;

UINT consoleCodePage() { return isTerminal(stderr) ? GetConsoleOutputCP() : GetACP(); }

std::string convert(const std::string& text, UINT from, UINT to) {
  constexpr std::size_t kMaxBytesPerUnit = 4;  // of a UTF-16 unit in UTF-8 or GB18030
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size() + 1, L'\0');
  const int length = MultiByteToWideChar(from, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  std::string result(kMaxBytesPerUnit * static_cast<std::size_t>(length) + 1, '\0');
  const int bytes =
      WideCharToMultiByte(to, 0, wide.data(), length, result.data(), static_cast<int>(result.size()), nullptr, nullptr);
  result.resize(static_cast<std::size_t>(bytes));
  return result;
}

}  // namespace

bool prefersChinese() { return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_CHINESE; }

std::string toTerminal(const std::string& utf8) { return convert(utf8, CP_UTF8, consoleCodePage()); }
std::string fromTerminal(const std::string& bytes) { return convert(bytes, CP_ACP, CP_UTF8); }
std::string fromBig5(const std::string& bytes) { return convert(bytes, kBig5, CP_UTF8); }

std::string toUtf8(const std::string& bytes) {
  const std::string same = convert(bytes, CP_UTF8, CP_UTF8);
  return same == bytes ? same : fromBig5(bytes);
}

}  // namespace zepasign::tools
