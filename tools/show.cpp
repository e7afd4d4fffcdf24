// zepasign show: any file that the library reads or writes, as a tree. What a file is, its content tells, not its name.
#include "base/cleanse.h"
#include "base/cproperty.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/describe.h"
#include "tools/messages.h"
#include "tools/propertytext.h"

namespace zepasign::tools {
namespace {

Tree describeProperties(const PropertyText& text) {
  Tree pairs = Tree::array();
  for (const PropertyText::Pair& pair : text.pairs()) {
    pairs.push_back({{"line", pair.line},
                     {"key", readable(pair.key)},
                     {"value", isSecretKey(pair.key) ? "********" : readable(pair.value)}});
  }
  return {{"kind", "properties"}, {"pairs", pairs}};
}

Tree describeWithPassword(PKCS12* pfx, const std::string& name) {
  std::string password;
  static_cast<void>(readSecret(say("PFX password of {0}"_m, {name}), password));
  const CleanseOnExit wipe(password);
  return describePfx(pfx, password);
}

// logLine: the text is Big5; the value behind it is as the host passed it, often UTF-8.
std::string logLine(const std::string& line) {
  const std::size_t value = std::min(line.find(" = "), line.size());
  return fromBig5(line.substr(0, value)) + readable(line.substr(value));
}

// describeLog: a daily log begins with a time stamp, 2026/01/31 08:15:00.123
Tree describeLog(const std::string& bytes) {
  Tree lines = Tree::array();
  for (std::size_t at = 0, end = 0; at < bytes.size(); at = end + 1) {
    end = std::min(bytes.find('\n', at), bytes.size());
    lines.push_back(logLine(bytes.substr(at, end - at)));
  }
  return {{"kind", "log"}, {"lines", lines}};
}

bool isLog(const std::string& bytes) {
  return bytes.size() > 24 && bytes[4] == '/' && bytes[7] == '/' && bytes[13] == ':' && bytes[19] == '.';
}

// describe: null when the bytes are nothing that is known.
Tree describe(const std::string& bytes, const std::string& name) {
  if (isLog(bytes)) return describeLog(bytes);
  const CryptoFile file = parseCryptoFile(bytes);
  if (file.pfx) return describeWithPassword(file.pfx.get(), name);
  if (file.pkcs7) return describePkcs7(file.pkcs7.get());
  if (!file.crls.empty()) return describeCrl(file.crls.front().get());
  if (file.certificates.empty()) {
    const PropertyText properties(bytes);
    return properties.pairs().empty() ? Tree() : describeProperties(properties);
  }
  Tree list = Tree::array();
  for (const X509Ptr& each : file.certificates) list.push_back(describeCertificate(each.get()));
  return {{"kind", "certificate"}, {"certificates", list}};
}

}  // namespace

int runShow(const ShowOptions& options) {
  Tree listing = Tree::array();
  int result = kGood;
  for (const std::string& file : options.files) {
    const std::string name = fromTerminal(file);
    std::string bytes;
    const bool isRead = readAll(file, bytes);
    Tree described = isRead ? describe(bytes, name) : Tree();
    if (described.is_null()) {
      complain(isRead ? say("{0}: not a file that this system knows"_m, {name}) : say("{0}: cannot be read"_m, {name}));
      result = kFailed;
      continue;
    }
    Tree entry = {{"file", name}};
    entry.update(described);
    listing.push_back(std::move(entry));
  }
  printTree(listing, options.json);
  return result;
}

}  // namespace zepasign::tools
