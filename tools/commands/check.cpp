// zepasign check: the library's own word, an initialisation and a trial signature, then the doctor's walk, which finds
// the log's folder made.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "api/ZEPASignDLL.h"
#include "base/cleanse.h"
#include "base/propertyrules.h"
#include "base/errors.h"
#include "base/platform.h"
#include "base/propertykeys.h"
#include "base/text.h"
#include "tools/commands/check.h"
#include "tools/commands/command_line.h"
#include "tools/commands/password.h"
#include "tools/commands/signing.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {

bool readNamedFile(const std::string& path, CryptoFile& file) {
  std::string bytes;
  if (!readRegularFile(path, bytes)) return false;
  file = parseCryptoFile(bytes);
  return true;
}

void ConfigCheck::examine() {
  examineLines();
  if (!properties_.longLines().empty() || properties_.pairs().empty()) return;  // the library reads nothing of it
  examineFolders();
  examineLog();
  examineOptions();
  examinePfx();
  examineChains();
}

void ConfigCheck::add(const char* level, const std::string& key, const Message& what,
                      std::initializer_list<std::string> arguments) {
  addAtLine(level, properties_.line(key), key, tr(what, arguments));
}

void ConfigCheck::addAtLine(const char* level, int line, const std::string& key, const std::string& message) {
  findings_.push_back({{"level", level}, {"line", line}, {"key", toUtf8(key)}, {"message", message}});
}

void ConfigCheck::examineLines() {
  for (const int line : properties_.longLines()) {
    addAtLine("error", line, "", tr("longer than 511 characters, so the whole file is refused: shorten it"_m));
    hasErrors_ = true;
  }
  for (const int line : properties_.ignoredLines()) {
    addAtLine("warning", line, "", tr(R"(no "=", so the line is ignored: write key = value, or # before a comment)"_m));
  }
  if (properties_.pairs().empty()) error("", "the file holds no setting: write lines of the form key = value"_m);
  for (const PropertyText::Pair& pair : properties_.pairs()) examineKey(pair);
}

void ConfigCheck::examineKey(const PropertyText::Pair& pair) {
  const auto warnHere = [&](const Message& what, std::initializer_list<std::string> arguments = {}) {
    addAtLine("warning", pair.line, shownKey(pair.key), tr(what, arguments));
  };
  if (pair.line == 1 && pair.key.starts_with("\xEF\xBB\xBF")) {
    return warnHere("a byte-order mark stands before the key, so it is not found: save the file without one"_m);
  }
  if (pair.key.starts_with('#') || pair.key.starts_with(';')) {
    return warnHere("a comment only counts as one in the first column: remove the blanks before it"_m);
  }
  if (!isKnownKey(pair.key)) {
    const std::string nearest = nearestKey(pair.key);
    return nearest.empty() ? warnHere("unknown key, it is ignored"_m)
                           : warnHere("unknown key, it is ignored: is {0} meant?"_m, {nearest});
  }
  if (const int last = properties_.line(pair.key); last != pair.line) {
    return warnHere("overridden by line {0}: keep one of the two"_m, {std::to_string(last)});
  }
  if (!isSecretKey(pair.key) && pair.value.find(" #") != std::string::npos) {
    warnHere(R"("#" does not begin a comment here, it belongs to the value: put the comment on its own line)"_m);
  }
}

void ConfigCheck::examineFolders() {
  for (const char* key : {keys::kLogPath, keys::kPfxPath, keys::kChainPath, keys::kCrlPath}) {
    const std::string folder = properties_.value(key);
    if (!folder.empty() && !isAbsolute(folder)) {
      warn(key, "{0} begins at the folder where the host is started: write the whole path"_m, {toUtf8(folder)});
    }
  }
}

void ConfigCheck::examineLog() {
  static constexpr std::array kLevels = {"DEBUG", "INFO", "WARN", "ERROR", "OFF"};
  const std::string level = properties_.value(keys::kLogLevel);
  if (std::none_of(kLevels.begin(), kLevels.end(),
                   [&](auto* known) { return equalsIgnoreCase(known, level.c_str()); })) {
    warn(keys::kLogLevel, "not DEBUG, INFO, WARN, ERROR or OFF, so everything is logged"_m);
  }
  const std::string folder = properties_.value(keys::kLogPath);
  const std::string file = properties_.value(keys::kLogFile);
  if (folder.empty()) return warn(keys::kLogPath, "missing, so no log file is written"_m);
  if (file.empty()) return warn(keys::kLogFile, "missing, so no log file is written"_m);
  const std::string today = folder + platform::kFolderSeparator + file + "." + platform::localDateText().substr(0, 8);
  const bool isWanted = !equalsIgnoreCase(level.c_str(), "OFF");
  if (!isFolder(folder) || (isWanted && !platform::AppendFile(today.c_str()).isOpen())) {
    warn(keys::kLogPath, "{0} cannot be written, so no log file is written"_m, {toUtf8(isWanted ? today : folder)});
  }
}

void ConfigCheck::examineOptions() {
  const std::string digest = properties_.value(keys::kDigest);
  if (digest == "SHA1") {
    warn(keys::kDigest, "SHA1 is no longer safe: use SHA256 where the receiver can"_m);
  } else if (digest != "SHA256") {
    error(keys::kDigest, "must be SHA256 or SHA1, exactly so, else every signature fails (5061)"_m);
  }
  examineInt(keys::kAddCert);
  examineFlag(keys::kAddTimestamp);
  examineFlag(keys::kAddPlainText);
}

void ConfigCheck::examineInt(const std::string& key) {
  const std::string value = properties_.value(key);
  if (properties_.find(key) == nullptr) return warn(key, "missing, so signatures carry no certificate: set 1 or 2"_m);
  char* end = nullptr;
  errno = 0;
  const long long number = std::strtoll(value.c_str(), &end, 10);
  if (end == value.c_str() || errno != 0 || number < std::numeric_limits<int>::min() ||
      number > std::numeric_limits<int>::max()) {
    error(key, "{0} is no number, so initialisation fails (5005): set 0, 1 or 2"_m, {toUtf8(value)});
  } else if (number <= 0) {
    warn(key, "signatures carry no certificate, receivers must have it from elsewhere"_m);
  }
}

void ConfigCheck::examineFlag(const std::string& key) {
  const std::string value = properties_.value(key);
  if (equalsIgnoreCase(value.c_str(), "TRUE") || equalsIgnoreCase(value.c_str(), "FALSE")) return;
  value.empty() ? warn(key, "missing, which means FALSE"_m)
                : warn(key, "{0} is neither TRUE nor FALSE, which means FALSE"_m, {toUtf8(value)});
}

namespace {

// tryLibrary: the code of a real initialisation and, after it, of a signature that nobody keeps.
int tryLibrary(const std::string& propertyFile, const std::string& enced, bool& initialised) {
  initialised = ZEPASignInitial(propertyFile.c_str(), enced.c_str());
  std::array<unsigned char, 1> content = {'x'};
  return initialised ? SignPkcs7Bin(content.data(), static_cast<int>(content.size())) : GetErrorCode();
}

void printFindings(const std::string& file, const Json& findings) {
  for (const Json& each : findings) {
    const std::string key = each["key"].get<std::string>();
    std::string text = labelText(each["level"].get<std::string>());
    text.append("  ").append(file);
    if (each["line"] != 0) text.append(":").append(each["line"].dump());
    text.append("  ").append(key).append(key.empty() ? "" : ": ").append(each["message"].get<std::string>());
    printLine(text);
  }
}

int runCheck(const CommonOptions& options) {
  const std::string file = fromTerminal(options.propertyFile);
  std::string bytes;
  const bool isRead = readRegularFile(options.propertyFile, bytes);
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  cProperty settings;
  static_cast<void>(settings.parse(bytes.c_str()));  // the walk says why when nothing can be read
  std::string enced;
  static_cast<void>(obtainEnced(options, properties, enced));  // without it the walk goes on
  bool initialised = false;
  const int code = tryLibrary(options.propertyFile, enced, initialised);
  ConfigCheck doctor(properties, settings, enced);
  isRead ? doctor.examine() : doctor.error("", "the file cannot be read, or is no ordinary file"_m);
  const std::string verdict = code == kSuccess ? tr("the library initialises and signs"_m)
                              : initialised ? tr("the library initialises, but does not sign: {0}"_m, {codeText(code)})
                                            : tr("the library does not initialise: {0}"_m, {codeText(code)});
  const Json listing = {{"file", file}, {"findings", doctor.findings()}, {"code", code}, {"verdict", verdict}};
  if (options.json) {
    printListing(listing, true);
  } else {
    printFindings(file, doctor.findings());
    printLine(verdict);
  }
  if (!initialised) return kNotInitialised;
  return code == kSuccess && !doctor.hasErrors() ? kOk : kFailed;
}

}  // namespace

void addCheck(CommandLine& line) {
  const auto options = std::make_shared<CommonOptions>();
  CLI::App* command =
      line.add("check", "find out what is wrong with a property file"_m, [options] { return runCheck(*options); });
  addCommon(command, *options);
  addExamples(command, {{"as the account that signs, so that its permissions count"_m,
                         "sudo -u payroll zepasign check -c app.properties"},
                        {"with the encrypted password that goes with PSWD.authKey"_m,
                         "zepasign check -c app.properties --enced-file enced.txt"},
                        {"for monitoring"_m, "zepasign check -c app.properties --json"}});
}

}  // namespace zepasign::tools
