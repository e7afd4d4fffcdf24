// zepasign show: any file that the library reads or writes, in words. The content tells the kind of a file, not its
// name.
#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "base/cleanse.h"
#include "base/propertyrules.h"
#include "tools/commands/command_line.h"
#include "tools/files/describe.h"
#include "tools/files/logfile.h"
#include "tools/files/propertyfile.h"
#include "tools/files/source.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct ShowOptions {
  std::vector<std::string> files;
  std::string level;
  bool follow = false;
  bool json = false;
};

// Listing: what was shown of the files so far. JSON is one array, whose entries are printed as they come.
class Listing final {
 public:
  explicit Listing(bool json) : json_(json) {
    if (json_) printBytes("[");
  }

  void add(const Json& entry) {
    begin();
    json_ ? printBytes(textOf(entry)) : printListing(entry, false);
  }

  // addLog: an entry whose lines are converted and printed one by one, a log may have any size.
  void addLog(const std::string& name, Source& source, LevelFilter filter) {
    begin();
    if (json_) printBytes(R"({"file": )" + textOf(name) + R"(, "kind": "log", "lines": [)");
    const char* separator = "\n";
    std::string line;
    while (source.readLine(line) || source.readLastLine(line)) {
      if (!filter.passes(line)) continue;
      json_ ? printBytes(separator + textOf(logLineText(line))) : printLine(logLineText(line));
      separator = ",\n";
    }
    if (json_) printBytes("]}");
  }

  void end() const {
    if (json_) printBytes("]\n");
  }

 private:
  // textOf: ASCII only, so that JSON does not depend on the locale.
  static std::string textOf(const Json& entry) { return entry.dump(2, ' ', true, Json::error_handler_t::replace); }

  void begin() {
    if (count_++ > 0) printBytes(json_ ? ",\n" : "\n");
  }

  bool json_;
  std::size_t count_ = 0;
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

// describe: null when the bytes are of no known kind. PEM of another kind, for example a private key, is not taken for
// a property file, although its Base64 text may end in "=".
Json describe(const std::string& bytes, const std::string& name) {
  const CryptoFile file = parseCryptoFile(bytes);
  if (file.pfx) return describeWithPassword(file.pfx.get(), name);
  if (file.pkcs7) return describePkcs7(file.pkcs7.get());
  if (file.request) return describeRequest(file.request.get());
  if (!file.crls.empty()) return describeCrl(file.crls.front().get());
  if (file.certificates.empty()) {
    const PropertyText properties(file.hasPemObject ? "" : bytes);
    return properties.pairs().empty() ? Json() : describeProperties(properties);
  }
  Json list = Json::array();
  for (const X509Ptr& each : file.certificates) list.push_back(describeCertificate(each.get()));
  return {{"kind", "certificate"}, {"certificates", list}};
}

// showFile: an ExitCode, an error message printed unless it is kOk.
int showFile(const ShowOptions& options, const std::string& path, Listing& listing) {
  const auto refuse = [name = fromTerminal(path)](const Message& why) {
    printError(tr(why, {name}));
    return kFailed;
  };
  const std::string name = fromTerminal(path);
  Source source(path);
  if (isLog(source.head())) {
    listing.addLog(name, source, LevelFilter(options.level));
    return source.isGood() ? kOk : refuse("{0}: cannot be read"_m);
  }
  std::string bytes;
  const CleanseOnExit wipe(bytes);
  const bool isRead = mayBeKnown(source.head()) && source.readRest(bytes, kMaxFileLength);
  if (!source.isGood()) return refuse("{0}: cannot be read"_m);
  const Json described = isRead ? describe(bytes, name) : Json();
  if (described.is_null()) return refuse("{0}: not a kind of file that zepasign knows"_m);
  Json entry = {{"file", name}};
  entry.update(described);
  listing.add(entry);
  return described.value("opened", true) ? kOk
                                         : refuse("the password does not open {0}, or the file is damaged (5208)"_m);
}

// follow: shows the log's lines as they are written, and goes on with the next day's file; ends when nobody reads the
// output any more.
int follow(std::string path, LevelFilter filter) {
  constexpr std::chrono::milliseconds kPause(200);
  auto source = std::make_unique<Source>(path);
  if (!isLog(source->head())) {
    printError(tr("{0}: not a log"_m, {fromTerminal(path)}));
    return kFailed;
  }
  std::string line;
  while (flushOutput()) {
    bool isIdle = true;
    for (; source->readLine(line); isIdle = false) {
      if (filter.passes(line)) printLine(logLineText(line));
    }
    const std::string next = isIdle ? nextDaysFile(path) : "";
    if (!next.empty()) {
      path = next;
      source = std::make_unique<Source>(path);
    } else if (isIdle) {
      std::this_thread::sleep_for(kPause);
    }
  }
  return kOk;
}

int runShow(const ShowOptions& options) {
  if (options.follow && (options.json || options.files.size() > 1)) {
    printError(tr("--follow shows one log, and not as JSON"_m));
    return kUsage;
  }
  if (options.follow) return follow(options.files.front(), LevelFilter(options.level));
  Listing listing(options.json);
  int result = kOk;
  for (const std::string& path : options.files) {
    if (showFile(options, path, listing) != kOk) result = kFailed;
  }
  listing.end();
  return result;
}

}  // namespace

void addShow(CommandLine& line) {
  const auto options = std::make_shared<ShowOptions>();
  const Command command = line.add("show", "show what a file holds"_m, [options] { return runShow(*options); });
  command.add(helpText("FILE"_m), options->files, "signature, PFX, P7B, CRL, certificate, property file or log"_m)
      .required();
  command.add("--level", options->level, "of a log: only lines of this level or above"_m)
      .valueName("DEBUG|INFO|WARN|ERROR")
      .check(oneOf(levelNames()));
  command.add("--follow", options->follow, "show the lines of a log as they are written"_m);
  addJson(command, options->json);
  command.addExamples(
      {{"who signed, and with which certificates"_m, "zepasign show contract.p7s"},
       {"the certificates of a PFX, whose password is asked for"_m, "zepasign show signer.pfx"},
       {"errors of a day, then the new ones"_m, "zepasign show --follow --level ERROR sign.log.20260131"},
       {"when a CRL expires, for a program"_m, "zepasign show --json ca.crl"}});
}

}  // namespace zepasign::tools
