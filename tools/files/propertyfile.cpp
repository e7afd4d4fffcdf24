#include "tools/files/propertyfile.h"

#include <algorithm>
#include <numeric>

#include "base/cleanse.h"
#include "base/propertykeys.h"
#include "base/propertyrules.h"
#include "base/text.h"

namespace zepasign::tools {
namespace {

const std::vector<std::string>& knownKeys() {
  static const std::vector<std::string> known = keys::all();
  return known;
}

// distance: how many characters must be put in, taken out or changed, letter case aside.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (const char letter : from) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (toAsciiLower(letter) == toAsciiLower(to[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, changed});
    }
  }
  return row.back();
}

}  // namespace

PropertyText::PropertyText(std::string_view text) {
  PropertyLine line;
  for (PropertyLines lines(text); lines.next(line);) {
    if (line.isTooLong) longLines_.push_back(line.number);
    if (line.kind == PropertyLine::Kind::kNoPair) ignoredLines_.push_back(line.number);
    if (line.kind != PropertyLine::Kind::kPair) continue;
    pairs_.push_back({line.number, std::string(line.key), std::string(line.value)});
  }
}

PropertyText::~PropertyText() {
  for (Pair& pair : pairs_) cleanse(pair.value.data(), pair.value.capacity());
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
