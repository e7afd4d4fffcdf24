#include "tools/files/propertyfile.h"

#include <algorithm>

#include "base/cleanse.h"
#include "base/propertykeys.h"
#include "base/propertyrules.h"
#include "base/text.h"
#include "tools/terminal/spelling.h"

namespace zepasign::tools {
namespace {

const std::vector<std::string>& knownKeys() {
  static const std::vector<std::string> known = keys::all();
  return known;
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
  constexpr std::size_t kMaxEdits = 3;
  return nearestWord(key, knownKeys(), kMaxEdits);
}

}  // namespace zepasign::tools
