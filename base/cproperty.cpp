#include "base/cproperty.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <stdexcept>

#include "base/big5.h"
#include "base/cfile.h"
#include "base/cleanse.h"
#include "base/clog.h"
#include "base/platform.h"
#include "base/propertykeys.h"
#include "base/text.h"

namespace zepasign {
namespace {

std::string_view loggedValue(const std::string& key, std::string_view value) {
  return isSecretKey(key) ? "********" : value;
}

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// toInt: as std::stoi, with texts of our own since those of the standard libraries differ.
int toInt(const std::string& value) {
  const char* start = value.c_str();
  while (isSpace(*start)) ++start;
  char* end = nullptr;
  errno = 0;
  const long long number = std::strtoll(start, &end, 10);
  if (end == start) throw std::invalid_argument("invalid stoi argument");
  if (errno == ERANGE || number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
    throw std::out_of_range("stoi argument out of range");
  }
  return static_cast<int>(number);
}

std::string label(const char* getter, const char* key) { return std::string(getter) + " : " + key; }

}  // namespace

bool isSecretKey(const std::string& key) {
  static constexpr std::string_view kSecretKeys[] = {"PFX.pswd", "PFX.pswdB64", "PSWD.license", "PSWD.authKey"};
  return std::any_of(std::begin(kSecretKeys), std::end(kSecretKeys), [&key](std::string_view secret) {
    return key.size() >= secret.size() && equalsIgnoreCase(&key[key.size() - secret.size()], secret.data());
  });
}

cProperty::~cProperty() { forgetAll(); }

bool cProperty::loadFromFile(const std::string& fileName) {
  if (!loaded_ && !load(fileName)) return false;
  logBool(kDebug, "end cProperty::loadFromFile() return", loaded_);
  return loaded_;
}

// load: false when there is no text to parse; otherwise `loaded_` tells how the parsing went.
bool cProperty::load(const std::string& fileName) {
  workingFolder_ = platform::currentFolder();
  logValue(kParam, "propertyFile", fileName);
  if (fileName.empty()) {
    logErrorValue("propertyFile ERROR!", fileName);
    return false;
  }
  if (!workingFolder_.starts_with('/')) logDebugValue("Current working path", workingFolder_);
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

bool cProperty::parseLines(std::string_view text) {
  for (int number = 1; !text.empty(); ++number) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (line.size() > keys::kMaxLineLength) {
      logInt(kError, "cProperty::parse() 行長度超過 511 字元, 行號"_big5, number);
      return false;
    }
    parseLine(line);
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  return true;
}

void cProperty::parseLine(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos || line.front() == '#' || line.front() == ';') return;
  insert(trim(line.substr(0, equals)), trim(line.substr(equals + 1)));
}

void cProperty::insert(std::string_view key, std::string_view value) {
  if (const auto old = properties_.find(key); old != properties_.end()) {
    forget(old);
    logValue(kWarn, "Erase duplicate MAP Name", key);
  }
  if (!properties_.emplace(key, value).second) {
    logErrorValue("Insert MAP Name", key);
    return;
  }
  logDebugValue("Insert MAP Name", key);
  logDebugValue("Insert MAP Value", loggedValue(std::string(key), value));
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
  logDebugValue(label("cProperty::getProperty()", key), loggedValue(pair->first, pair->second));
  return pair->second;
}

int cProperty::getPropertyInt(const char* key) const {
  const auto pair = find(key);
  if (pair == properties_.end()) return -1;
  const int number = toInt(pair->second);
  logInt(kDebug, label("cProperty::getPropertyInt()", key), number);
  return number;
}

bool cProperty::getPropertyBool(const char* key) const {
  const auto pair = find(key);
  if (pair == properties_.end()) return false;
  const bool flag = equalsIgnoreCase(pair->second.c_str(), "TRUE");
  logBool(kDebug, label("cProperty::getProperty()", key), flag);  // the text look-up's label, on purpose
  return flag;
}

}  // namespace zepasign
