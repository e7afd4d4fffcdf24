// zepasign show: any file that the library reads or writes, as a tree. What a file is, its content tells, not its name.
#include "base/cleanse.h"
#include "base/propertyrules.h"
#include "tools/commands/command_line.h"
#include "tools/files/describe.h"
#include "tools/files/propertyfile.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct ShowOptions {
  std::vector<std::string> files;
  bool json = false;
};

Json describeProperties(const PropertyText& text) {
  Json pairs = Json::array();
  for (const PropertyText::Pair& pair : text.pairs()) {
    pairs.push_back({{"line", pair.line},
                     {"key", toUtf8(shownKey(pair.key))},
                     {"value", toUtf8(std::string(shownValue(pair.key, pair.value)))}});
  }
  return {{"kind", "properties"}, {"pairs", pairs}};
}

Json describeWithPassword(PKCS12* pfx, const std::string& name) {
  std::string password;
  static_cast<void>(readSecret(tr("PFX password of {0}"_m, {name}), password));
  const CleanseOnExit wipe(password);
  return describePfx(pfx, password);
}

// logLine: the text is Big5, or UTF-8 with LOG.encoding; the value behind it is as the host passed it, often UTF-8.
std::string logLine(const std::string& line) {
  const std::size_t value = std::min(line.find(" = "), line.size());
  return toUtf8(line.substr(0, value)) + toUtf8(line.substr(value));
}

// describeLog: a daily log begins with a time stamp, 2026/01/31 08:15:00.123
Json describeLog(const std::string& bytes) {
  Json lines = Json::array();
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
Json describe(const std::string& bytes, const std::string& name) {
  if (isLog(bytes)) return describeLog(bytes);
  const CryptoFile file = parseCryptoFile(bytes);
  if (file.pfx) return describeWithPassword(file.pfx.get(), name);
  if (file.pkcs7) return describePkcs7(file.pkcs7.get());
  if (!file.crls.empty()) return describeCrl(file.crls.front().get());
  if (file.certificates.empty()) {
    const PropertyText properties(bytes);
    return properties.pairs().empty() ? Json() : describeProperties(properties);
  }
  Json list = Json::array();
  for (const X509Ptr& each : file.certificates) list.push_back(describeCertificate(each.get()));
  return {{"kind", "certificate"}, {"certificates", list}};
}

int runShow(const ShowOptions& options) {
  Json listing = Json::array();
  int result = kOk;
  for (const std::string& file : options.files) {
    const std::string name = fromTerminal(file);
    std::string bytes;
    const bool isRead = readAll(file, bytes);
    Json described = isRead ? describe(bytes, name) : Json();
    if (described.is_null()) {
      printError(isRead ? tr("{0}: not a file that this system knows"_m, {name}) : tr("{0}: cannot be read"_m, {name}));
      result = kFailed;
      continue;
    }
    Json entry = {{"file", name}};
    entry.update(described);
    listing.push_back(std::move(entry));
  }
  printListing(listing, options.json);
  return result;
}

}  // namespace

void addShow(CommandLine& line) {
  const auto options = std::make_shared<ShowOptions>();
  CLI::App* command = line.add("show", "show what a file holds"_m, [options] { return runShow(*options); });
  command
      ->add_option(helpText("FILE"_m), options->files,
                   helpText("signature, PFX, P7B, CRL, certificate, property file or log"_m))
      ->required();
  addJson(command, options->json);
  addExamples(command, {{"who signed, and with which certificates"_m, "zepasign show contract.p7s"},
                        {"the certificates of a PFX, whose password is asked for"_m, "zepasign show signer.pfx"},
                        {"when a CRL expires, for a program"_m, "zepasign show --json ca.crl"}});
}

}  // namespace zepasign::tools
