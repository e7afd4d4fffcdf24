// ConfigCheck on the lines of the property file and the settings that stand for themselves.
#include <algorithm>
#include <stdexcept>

#include "base/clog.h"
#include "base/logencoding.h"
#include "base/propertykeys.h"
#include "base/propertyrules.h"
#include "base/text.h"
#include "pki/openssl.h"
#include "tools/commands/check.h"
#include "tools/terminal/access.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"

namespace zepasign::tools {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// isUtf16: with a byte-order mark or, as little-endian text without one, with a zero byte behind its first character.
bool isUtf16(std::string_view bytes) {
  return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF") || bytes.substr(0, 2).ends_with('\0');
}

// withoutMark: the key without what an editor put before it.
std::string withoutMark(const PropertyText::Pair& pair) {
  return pair.key.starts_with(kByteOrderMark) ? pair.key.substr(kByteOrderMark.size()) : pair.key;
}

}  // namespace

void ConfigCheck::examineLines() {
  const std::string& file = input_.propertyFile;
  examineAccount();
  if (isOpenToOthers(file)) findings_.addAtLine(0, "permissions-open"_finding, "", {fromTerminal(file)});
  if (isUtf16(input_.bytes)) return findings_.addAtLine(1, "file-utf16"_finding, "", {fromTerminal(file)});
  const int first = examineMark() ? 2 : 1;
  for (const int line : input_.properties.longLines()) findings_.addAtLine(line, "line-too-long"_finding, "");
  for (const int line : input_.properties.ignoredLines()) {
    if (line >= first) findings_.addAtLine(line, "line-without-equals"_finding, "");
  }
  if (input_.properties.pairs().empty()) findings_.addAtLine(0, "property-file-empty"_finding, "");
  for (const PropertyText::Pair& pair : input_.properties.pairs()) {
    if (pair.line >= first) examineKey(pair);
  }
}

// examineMark: whether a byte-order mark begins the file; then the first line needs no other finding.
bool ConfigCheck::examineMark() {
  if (!input_.bytes.starts_with(kByteOrderMark)) return false;
  const auto& pairs = input_.properties.pairs();
  const std::string key = !pairs.empty() && pairs.front().line == 1 ? withoutMark(pairs.front()) : "";
  findings_.addAtLine(1, "byte-order-mark"_finding, key, {fromTerminal(input_.propertyFile)});
  return true;
}

void ConfigCheck::examineKey(const PropertyText::Pair& pair) {
  const auto addHere = [&](const FindingKind& kind, Arguments arguments = {}) {
    findings_.addAtLine(pair.line, kind, pair.key, arguments);
  };
  if (pair.key.starts_with('#') || pair.key.starts_with(';')) return addHere("comment-indented"_finding);
  if (!isKnownKey(pair.key)) {
    const std::string nearest = nearestKey(pair.key);
    return nearest.empty() ? addHere("key-unknown"_finding) : addHere("key-misspelt"_finding, {nearest});
  }
  if (const int last = input_.properties.line(pair.key); last != pair.line) {
    return addHere("key-repeated"_finding, {std::to_string(last)});
  }
  if (!isSecretKey(pair.key) && pair.value.find(" #") != std::string::npos) addHere("value-comment"_finding);
}

// examineAccount: root sees everything, so what it finds says little of the host. A file of root's that a host may only
// read is good practice and not worth a word.
void ConfigCheck::examineAccount() {
  const std::string account = accountName();
  const auto belongsToOther = [&](const std::string& path) {
    const std::string owner = ownerOf(path);
    if (owner.empty() || owner == account || owner == "root") return false;
    findings_.addAtLine(0, "account-differs"_finding, "",
                        {fromTerminal(path), owner, account, fromTerminal(input_.propertyFile)});
    return true;
  };
  if (!belongsToOther(input_.propertyFile) && account == "root")
    static_cast<void>(belongsToOther(value(keys::kLogPath)));
}

void ConfigCheck::examineSettings(bool logIsWritten) {
  examinePaths();
  examineLog(logIsWritten);
  const std::string digest = value(keys::kDigest);
  if (cryptoContext.digest(digest) == nullptr) {
    add("digest-wrong"_finding, keys::kDigest);
  } else if (digest == "SHA1") {
    add("digest-sha1"_finding, keys::kDigest);
  }
  examineCertificateMode();
  examineFlag(keys::kAddTimestamp);
  examineFlag(keys::kAddPlainText);
}

void ConfigCheck::examinePaths() {
  for (const char* key : {keys::kLogPath, keys::kPfxPath, keys::kChainPath, keys::kCrlPath}) {
    const std::string directory = value(key);
    if (directory.empty()) continue;
    if (isForeignPath(directory)) {
      add("path-backslash"_finding, key, {toUtf8(directory)});
    } else if (!isAbsolute(directory)) {
      add("path-relative"_finding, key, {toUtf8(directory)});
    }
  }
}

// examineLog: a log of our own knows the names of the levels; one that it does not know leaves it as it was made.
void ConfigCheck::examineLog(bool logIsWritten) {
  constexpr LogLevel kBelowAll{"", 0};
  const std::string level = value(keys::kLogLevel);
  cLog log;
  log.setLevel(level.c_str());
  if (level.empty()) {
    add("log-level-missing"_finding, keys::kLogLevel);
  } else if (log.isEnabled(kBelowAll)) {
    add("log-level-unknown"_finding, keys::kLogLevel, {toUtf8(level)});
  } else if (log.isEnabled(kDebug)) {
    add("log-level-debug"_finding, keys::kLogLevel);
  } else if (!log.isEnabled(kInfo)) {
    add("log-level-quiet"_finding, keys::kLogLevel, {toUtf8(level)});
  }
  if (const std::string encoding = value(keys::kLogEncoding);
      !encoding.empty() && !LogEncoding::isUtf8Name(encoding.c_str())) {
    add("log-encoding-unknown"_finding, keys::kLogEncoding, {toUtf8(encoding)});
  }
  for (const char* key : {keys::kLogPath, keys::kLogFile}) {
    if (value(key).empty()) return add("log-setting-missing"_finding, key);
  }
  if (!logIsWritten && log.isEnabled(kError))
    add("log-unwritable"_finding, keys::kLogPath, {toUtf8(value(keys::kLogPath))});
}

void ConfigCheck::examineCertificateMode() {
  const std::string text = value(keys::kAddCert);
  if (input_.properties.find(keys::kAddCert) == nullptr) return add("certificates-missing"_finding, keys::kAddCert);
  try {
    const int number = input_.settings.getPropertyInt(keys::kAddCert);
    if (text.find_first_not_of("+-0123456789") != std::string::npos) {
      add("certificates-trailing"_finding, keys::kAddCert, {toUtf8(text), std::to_string(number)});
    }
    if (number <= 0) add("certificates-none"_finding, keys::kAddCert);
  } catch (const std::logic_error&) {
    add("certificates-invalid"_finding, keys::kAddCert, {toUtf8(text)});
  }
}

void ConfigCheck::examineFlag(const char* key) {
  const std::string text = value(key);
  if (input_.settings.getPropertyBool(key) || equalsIgnoreCase(text.c_str(), "FALSE")) return;
  text.empty() ? add("flag-missing"_finding, key) : add("flag-unknown"_finding, key, {toUtf8(text)});
}

}  // namespace zepasign::tools
