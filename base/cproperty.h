// cProperty: the property file, lines of the form key = value, and its typed look-ups.
//
//   # a comment (also ;), only in the first column
//   PFX.path = /etc/zepasign        blanks around key and value are dropped, further "=" belong to the value
//
// Keys and values are the bytes of the file. The last of several lines with one key wins. A line has at most 511
// characters. Values are wiped when the object goes; the secret ones never reach the log.
#ifndef ZEPASIGN_BASE_CPROPERTY_H_
#define ZEPASIGN_BASE_CPROPERTY_H_

#include <map>
#include <string>
#include <string_view>

namespace zepasign {

// isSecretKey: whether the value of such a key must not be shown. A key counts in any letter case, and when it only
// ends like a secret one: " #PFX.pswd" is no comment, and a byte-order mark may stand before the first key.
[[nodiscard]] bool isSecretKey(const std::string& key);

class cProperty {
 public:
  cProperty() = default;
  virtual ~cProperty();
  cProperty(const cProperty&) = delete;
  cProperty& operator=(const cProperty&) = delete;

  // loadFromFile: effective until it first succeeds, which needs at least one pair; true at once afterwards.
  [[nodiscard]] bool loadFromFile(const std::string& fileName);

  // parse: replaces all pairs by those of a NUL-terminated text; true when there is at least one. A line that is too
  // long is refused: false, and no pair is kept.
  [[nodiscard]] bool parse(const char* text);

  // getProperty: a copy of the value, empty when the key is null, empty or absent.
  [[nodiscard]] std::string getProperty(const char* key) const;

  // getPropertyInt: the decimal number at the start of the value, -1 when the key is absent. Throws
  // std::invalid_argument or std::out_of_range as std::stoi does.
  [[nodiscard]] int getPropertyInt(const char* key) const;

  // getPropertyBool: whether the value is "TRUE" in any letter case.
  [[nodiscard]] bool getPropertyBool(const char* key) const;

 private:
  using Properties = std::map<std::string, std::string, std::less<>>;

  [[nodiscard]] bool load(const std::string& fileName);
  [[nodiscard]] bool parseLines(std::string_view text);
  void parseLine(std::string_view line);
  void insert(std::string_view key, std::string_view value);
  void forget(Properties::iterator pair);
  void forgetAll();
  [[nodiscard]] Properties::const_iterator find(const char* key) const;

  Properties properties_;
  std::string workingFolder_;
  bool loaded_ = false;
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CPROPERTY_H_
