// Lines are read by PropertyLines. Each pair is logged as it is inserted, so that the log shows what was read even when
// the file is refused in the end. Values are wiped before the map frees them, one pair at a time.
#include "base/cproperty.h"

#include "base/big5.h"
#include "base/cfile.h"
#include "base/cleanse.h"
#include "base/clog.h"
#include "base/platform.h"
#include "base/propertyrules.h"
#include "base/text.h"

namespace zepasign {
namespace {

// textLabel: the label of a text look-up. Flags are logged under it as well; readers of the log depend on that.
std::string textLabel(const char* key) { return std::string("cProperty::getProperty() : ") + key; }

void logKey(const LogLevel& level, std::string_view label, std::string_view key) {
  if (logger.isEnabled(level)) logValue(level, label, shownKey(key));
}

}  // namespace

cProperty::~cProperty() { forgetAll(); }

bool cProperty::loadFromFile(const std::string& fileName) {
  if (!loaded_ && !load(fileName)) return false;
  logBool(kDebug, "end cProperty::loadFromFile() return", loaded_);
  return loaded_;
}

// load: false when there is no text to parse; otherwise `loaded_` tells how the parsing went.
bool cProperty::load(const std::string& fileName) {
  workingDirectory_ = platform::currentDirectory();
  logValue(kParam, "propertyFile", fileName);
  if (fileName.empty()) {
    logErrorValue("propertyFile ERROR!", fileName);
    return false;
  }
  if (!workingDirectory_.starts_with('/')) logDebugValue("Current working path", workingDirectory_);
  cFile file;
  file.markSecret();
  if (!file.loadFromFile(fileName.c_str())) {
    logErrorValue("loadFromFile()", fileName);
    return false;
  }
  loaded_ = parse(reinterpret_cast<const char*>(file.data()));
  return true;
}

bool cProperty::parse(const char* text) {
  forgetAll();
  if (isEmpty(text)) return false;
  if (!parseLines(text)) forgetAll();
  logInt(kDebug, "properties.size()", static_cast<int>(properties_.size()));
  logBool(kDebug, "end cProperty::parse() return", !properties_.empty());
  return !properties_.empty();
}

bool cProperty::parseLines(const char* text) {
  PropertyLine line;
  for (PropertyLines lines(text); lines.next(line);) {
    if (line.isTooLong) {
      logInt(kError, "cProperty::parse() 行長度超過 511 字元, 行號"_big5, line.number);
      return false;
    }
    if (line.kind == PropertyLine::Kind::kPair) insert(line.key, line.value);
  }
  return true;
}

void cProperty::insert(std::string_view key, std::string_view value) {
  if (const auto old = properties_.find(key); old != properties_.end()) {
    forget(old);
    logKey(kWarn, "Erase duplicate MAP Name", key);
  }
  if (!properties_.emplace(key, value).second) {
    logKey(kError, "Insert MAP Name", key);
    return;
  }
  logKey(kDebug, "Insert MAP Name", key);
  logDebugValue("Insert MAP Value", shownValue(key, value));
}

void cProperty::forget(Properties::iterator pair) {
  cleanse(pair->second.data(), pair->second.capacity());
  properties_.erase(pair);
}

void cProperty::forgetAll() {
  while (!properties_.empty()) forget(properties_.begin());
}

cProperty::Properties::const_iterator cProperty::find(const char* key) const {
  return isEmpty(key) ? properties_.end() : properties_.find(std::string_view(key));
}

std::string cProperty::getProperty(const char* key) const {
  const auto pair = find(key);
  if (pair == properties_.end()) return {};
  if (logger.isEnabled(kDebug)) logDebugValue(textLabel(key), shownValue(key, pair->second));
  return pair->second;
}

int cProperty::getPropertyInt(const char* key) const {
  const auto pair = find(key);
  if (pair == properties_.end()) return -1;
  const int number = toInt(pair->second);
  if (logger.isEnabled(kDebug)) logInt(kDebug, std::string("cProperty::getPropertyInt() : ") + key, number);
  return number;
}

bool cProperty::getPropertyBool(const char* key) const {
  const auto pair = find(key);
  if (pair == properties_.end()) return false;
  const bool flag = equalsIgnoreCase(pair->second.c_str(), "TRUE");
  if (logger.isEnabled(kDebug)) logBool(kDebug, textLabel(key), flag);
  return flag;
}

}  // namespace zepasign
