// The Levenshtein distance, computed row by row: after the first i letters of `from`, row[j] is the number of edits
// that turn them into the first j letters of `to`.
#include "tools/terminal/spelling.h"

#include <algorithm>
#include <numeric>

#include "base/text.h"

namespace zepasign::tools {
namespace {

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

std::string nearestWord(std::string_view word, const std::vector<std::string>& known, std::size_t maxEdits) {
  std::string nearest;
  std::size_t fewest = maxEdits + 1;
  for (const std::string& each : known) {
    const std::size_t edits = distance(word, each);
    if (edits >= fewest) continue;
    fewest = edits;
    nearest = each;
  }
  return nearest;
}

}  // namespace zepasign::tools
