#include "tools/files/propertyfile.h"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "base/cleanse.h"
#include "base/propertykeys.h"
#include "base/text.h"

namespace zepasign::tools {
namespace {

const std::vector<std::string>& knownKeys() {
  static const std::vector<std::string> known = keys::all();
  return known;
}

bool sameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// distance: how many characters must be put in, taken out or changed, letter case aside.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (const char letter : from) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (sameLetter(letter, to[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, changed});
    }
  }
  return row.back();
}

}  // namespace

PropertyText::PropertyText(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  for (int number = 1; !text.empty(); ++number) {
    const std::string_view line = text.substr(0, text.find('\n'));
    addLine(number, line);
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
}

PropertyText::~PropertyText() {
  for (Pair& pair : pairs_) cleanse(pair.value.data(), pair.value.capacity());
}

void PropertyText::addLine(int number, std::string_view line) {
  if (line.size() > keys::kMaxLineLength) longLines_.push_back(number);
  if (line.starts_with('#') || line.starts_with(';') || std::all_of(line.begin(), line.end(), isBlank)) return;
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    ignoredLines_.push_back(number);
  } else {
    pairs_.push_back({number, std::string(trim(line.substr(0, equals))), std::string(trim(line.substr(equals + 1)))});
  }
}

const PropertyText::Pair* PropertyText::find(std::string_view key) const {
  const auto found = std::find_if(pairs_.rbegin(), pairs_.rend(), [key](const Pair& pair) { return pair.key == key; });
  return found == pairs_.rend() ? nullptr : &*found;
}

std::string PropertyText::value(std::string_view key) const {
  const Pair* pair = find(key);
  return pair == nullptr ? "" : pair->value;
}

int PropertyText::line(std::string_view key) const {
  const Pair* pair = find(key);
  return pair == nullptr ? 0 : pair->line;
}

bool isKnownKey(std::string_view key) {
  return std::find(knownKeys().begin(), knownKeys().end(), key) != knownKeys().end();
}

std::string nearestKey(std::string_view key) {
  constexpr std::size_t kNear = 3;
  const auto nearest = std::min_element(knownKeys().begin(), knownKeys().end(), [key](const auto& a, const auto& b) {
    return distance(key, a) < distance(key, b);
  });
  return distance(key, *nearest) <= kNear ? *nearest : "";
}

}  // namespace zepasign::tools
