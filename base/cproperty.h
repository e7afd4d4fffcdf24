// cProperty: the settings of one property file, looked up as text, number or flag. How lines are read and which values
// are secret is told in propertyrules.h, the keys are those of propertykeys.h.
//
// Keys are compared byte by byte, letter case included. The last of several lines with one key wins, with a WARN line.
// The values are wiped when the object is destroyed; secret ones never reach the log. One thread at a time.
//
// An initialisation makes one object, reads the settings it needs and destroys it. Every look-up that finds its key
// writes a DEBUG line; a file that cannot be read and a line that is too long write ERROR lines. Loading and look-ups
// throw std::bad_alloc.
#ifndef ZEPASIGN_BASE_CPROPERTY_H_
#define ZEPASIGN_BASE_CPROPERTY_H_

#include <map>
#include <string>
#include <string_view>

namespace zepasign {

class cProperty {
 public:
  cProperty() = default;
  virtual ~cProperty();
  cProperty(const cProperty&) = delete;
  cProperty& operator=(const cProperty&) = delete;

  // loadFromFile: reads and parses the file. False when it cannot be read, holds no pair or has a line that is too
  // long; then no pair is kept. Effective until it first succeeds; afterwards it returns true and reads nothing.
  [[nodiscard]] bool loadFromFile(const std::string& fileName);

  // parse: replaces all pairs by those of a NUL-terminated text; true when there is at least one. A line that is too
  // long is refused: false, and no pair is kept.
  [[nodiscard]] bool parse(const char* text);

  // getProperty: a copy of the value, empty when the key is null, empty or absent. The caller wipes the copy of a
  // secret value, see CleanseOnExit.
  [[nodiscard]] std::string getProperty(const char* key) const;

  // getPropertyInt: the value by toInt, whose exceptions it throws; -1 when the key is absent.
  [[nodiscard]] int getPropertyInt(const char* key) const;

  // getPropertyBool: whether the value is "TRUE" in any letter case; false for every other value and without the key.
  [[nodiscard]] bool getPropertyBool(const char* key) const;

 private:
  using Properties = std::map<std::string, std::string, std::less<>>;

  // forget, forgetAll: wipe the values, then remove the pairs. std::less<> lets `find` take a key without copying it.
  [[nodiscard]] bool load(const std::string& fileName);
  [[nodiscard]] bool parseLines(const char* text);
  void insert(std::string_view key, std::string_view value);
  void forget(Properties::iterator pair);
  void forgetAll();
  [[nodiscard]] Properties::const_iterator find(const char* key) const;

  Properties properties_;
  std::string workingDirectory_;
  bool loaded_ = false;
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CPROPERTY_H_
