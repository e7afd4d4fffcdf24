#include "tools/files/logfile.h"

#include <algorithm>
#include <array>

#include "base/clog.h"
#include "base/platform.h"
#include "base/text.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

constexpr std::array kLevels = {kDebug, kInfo, kParam, kWarn, kError};
constexpr std::size_t kStampLength = 23;  // 2026/01/31 08:15:00.123

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// withBytes: each \xHH replaced by the byte.
std::string withBytes(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x' && hexValue(text[i + 2]) >= 8 &&
                          hexValue(text[i + 3]) >= 0;
    result += isEscape ? static_cast<char>(16 * hexValue(text[i + 2]) + hexValue(text[i + 3])) : text[i];
    if (isEscape) i += 3;
  }
  return result;
}

bool isUtf8(const std::string& text) { return toUtf8(text) == text; }

}  // namespace

bool isLog(std::string_view head) {
  static constexpr std::string_view kForm = "0000/00/00 00:00:00.000";
  if (head.size() <= kStampLength) return false;
  return std::equal(kForm.begin(), kForm.end(), head.begin(),
                    [](char form, char c) { return form == '0' ? c >= '0' && c <= '9' : form == c; });
}

std::string logLineText(const std::string& line) {
  const std::size_t value = std::min(line.find(" = "), line.size());
  std::string text = toUtf8(line.substr(0, value)) + toUtf8(line.substr(value));
  if (text.find("\\x") == std::string::npos) return text;
  const std::string shown = withBytes(text);
  return isUtf8(shown) ? shown : text;
}

const std::vector<std::string>& levelNames() {
  static const std::vector<std::string> names = {kDebug.name, kInfo.name, kWarn.name, kError.name};
  return names;
}

LevelFilter::LevelFilter(const std::string& level) {
  for (const LogLevel& each : kLevels) {
    if (equalsIgnoreCase(each.name, level.c_str())) threshold_ = each.rank;
  }
}

// The level stands behind "(PID=4711) ", right-aligned in five columns.
bool LevelFilter::passes(const std::string& line) {
  constexpr std::size_t kNameWidth = 5;
  if (!isLog(line)) return passed_;
  const std::size_t end = line.find(") ", kStampLength);
  const std::string name(trim(line.substr(std::min(end, line.size() - 2) + 2, kNameWidth)));
  passed_ = true;
  for (const LogLevel& each : kLevels) {
    if (name == each.name) passed_ = each.rank >= threshold_;
  }
  return passed_;
}

std::string nextDaysFile(const std::string& path) {
  constexpr std::size_t kDateLength = 8;
  const std::size_t point = path.rfind('.');
  if (point == std::string::npos || path.size() - point - 1 != kDateLength) return {};
  std::string today = path.substr(0, point + 1) + platform::localDateText().substr(0, kDateLength);
  return today > path && platform::openForReading(today.c_str()) != nullptr ? today : "";
}

}  // namespace zepasign::tools
