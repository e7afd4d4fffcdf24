// PropertyText: a property file line by line, for commands that must say in which line something is wrong. Lines are
// read by the library's own rules (base/propertyrules.h).
//
// Where the library keeps only the value that counts, this class keeps every pair with the number of its line. Lines
// count from 1; keys and values are the bytes of the file, without blanks at both ends.
//
// Thread rule: any thread may read an object once it is constructed.
#ifndef ZEPASIGN_TOOLS_FILES_PROPERTYFILE_H_
#define ZEPASIGN_TOOLS_FILES_PROPERTYFILE_H_

#include <string>
#include <string_view>
#include <vector>

namespace zepasign::tools {

class PropertyText final {
 public:
  // Pair: a line "key = value". The value may be a secret; isSecretKey tells by the key.
  struct Pair {
    int line;
    std::string key;
    std::string value;
  };

  // PropertyText: copies what it keeps, so the text need not outlive it; the caller wipes the text. It ends at its
  // first zero byte. No content is an error here: bad lines are listed instead.
  explicit PropertyText(std::string_view text);
  // ~PropertyText: wipes the values, some are secrets.
  ~PropertyText();
  PropertyText(const PropertyText&) = delete;
  PropertyText& operator=(const PropertyText&) = delete;

  // pairs: in the order of the file, later ones with the key of an earlier one included.
  [[nodiscard]] const std::vector<Pair>& pairs() const noexcept { return pairs_; }
  // find: the last pair of that key, which is the one that counts; null when there is none. The result is borrowed from
  // this object. Letter case counts.
  [[nodiscard]] const Pair* find(std::string_view key) const;
  // value, line: of the pair that counts; empty and 0 when there is none. `value` returns a copy, which the caller
  // wipes if it is a secret.
  [[nodiscard]] std::string value(std::string_view key) const;
  [[nodiscard]] int line(std::string_view key) const;

  // ignoredLines, longLines: the numbers of the lines that are ignored, and of those that are too long.
  [[nodiscard]] const std::vector<int>& ignoredLines() const noexcept { return ignoredLines_; }
  [[nodiscard]] const std::vector<int>& longLines() const noexcept { return longLines_; }

 private:
  std::vector<Pair> pairs_;
  std::vector<int> ignoredLines_;
  std::vector<int> longLines_;
};

// isKnownKey: whether the library reads such a key.
[[nodiscard]] bool isKnownKey(std::string_view key);
// nearestKey: the known key that a misspelt one may mean; empty when none is near.
[[nodiscard]] std::string nearestKey(std::string_view key);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_PROPERTYFILE_H_
