// PropertyText: a property file line by line, for commands that must say in which line something is wrong. Lines are
// read by the library's own rules (base/propertyrules.h).
#ifndef ZEPASIGN_TOOLS_FILES_PROPERTYFILE_H_
#define ZEPASIGN_TOOLS_FILES_PROPERTYFILE_H_

#include <string>
#include <string_view>
#include <vector>

namespace zepasign::tools {

class PropertyText final {
 public:
  struct Pair {
    int line;
    std::string key;
    std::string value;
  };

  explicit PropertyText(std::string_view text);
  // ~PropertyText: wipes the values, some are secrets.
  ~PropertyText();
  PropertyText(const PropertyText&) = delete;
  PropertyText& operator=(const PropertyText&) = delete;

  // pairs: in the order of the file, later ones with the key of an earlier one included.
  [[nodiscard]] const std::vector<Pair>& pairs() const noexcept { return pairs_; }
  // find: the last pair of that key, which is the one that counts; null when there is none.
  [[nodiscard]] const Pair* find(std::string_view key) const;
  // value, line: of the pair that counts; empty and 0 when there is none.
  [[nodiscard]] std::string value(std::string_view key) const;
  [[nodiscard]] int line(std::string_view key) const;

  // ignoredLines, longLines: the numbers of lines that say nothing, and of lines for which the file is refused.
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
