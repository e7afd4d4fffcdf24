// zepasign check: a real initialisation and a trial signature, which is discarded, then the explanation of their
// results.
#include "tools/commands/check.h"

#include <array>

#include "api/ZEPASignDLL.h"
#include "base/cleanse.h"
#include "base/clog.h"
#include "base/errors.h"
#include "base/propertykeys.h"
#include "tools/commands/check_traces.h"
#include "tools/commands/command_line.h"
#include "tools/commands/password.h"
#include "tools/files/describe.h"
#include "tools/terminal/access.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {

FoundFile::FoundFile(const std::string& path) {
  std::string bytes;
  if (!readRegularFile(path, bytes)) return;
  file = parseCryptoFile(bytes);
  isPem = bytes.find("-----BEGIN ") != std::string::npos;
}

namespace {

struct CheckOptions {
  CommonOptions common;
  unsigned warnDays = 30;
  bool strict = false;
};

// Trial: what came of a real initialisation and a signature.
struct Trial {
  bool initialised = false;
  int code = 0;
  Pkcs7Ptr signature = {};
  bool logIsWritten = false;
};

// takesLine: whether the log takes a line in the way in which the library writes it.
bool takesLine(const std::string& directory, const std::string& file, const LogTraces& traces) {
  cLog log;
  if (!log.setLogFile(directory.c_str(), file.c_str())) return false;
  log.writeText(kInfo.name, "zepasign check");
  return traces.hasGrown();
}

Trial tryLibrary(const std::string& propertyFile, const std::string& enced, const cProperty& settings) {
  const std::string directory = settings.getProperty(keys::kLogPath);
  const std::string file = settings.getProperty(keys::kLogFile);
  const LogTraces traces(directory, file);
  Trial trial;
  trial.initialised = ZEPASignInitial(propertyFile.c_str(), enced.c_str());
  std::array<unsigned char, 1> content = {'x'};
  trial.code = trial.initialised ? SignPkcs7Bin(content.data(), static_cast<int>(content.size())) : GetErrorCode();
  if (trial.code == kSuccess) trial.signature = parseCryptoFile(GetSignedPkcs7()).pkcs7;
  trial.logIsWritten = traces.hasGrown() || takesLine(directory, file, traces);
  return trial;
}

// whyFileUnreadable: of a property file that the library cannot read.
const FindingKind& whyFileUnreadable(const std::string& path) {
  switch (fileAccess(path)) {
    case FileAccess::kMissing:
      return "property-file-missing"_finding;
    case FileAccess::kForbidden:
      return "property-file-forbidden"_finding;
    default:
      return "property-file-irregular"_finding;
  }
}

std::string verdictText(const Trial& trial) {
  if (!trial.initialised) return tr("the library does not initialise: {0}"_m, {codeText(trial.code)});
  if (trial.code == kSuccess) return tr("the library initialises and signs"_m);
  return tr("the library initialises, but does not sign: {0}"_m, {codeText(trial.code)});
}

Json namesOf(const Trial& trial) {
  Json names = Json::array();
  const STACK_OF(X509)* carried = trial.signature ? certificatesOf(trial.signature.get()) : nullptr;
  for (int i = 0; i < sk_X509_num(carried); ++i) {
    names.push_back(nameText(X509_get_subject_name(sk_X509_value(carried, i))));
  }
  return names;
}

void printFindings(const std::string& file, const Json& findings) {
  for (const Json& each : findings) {
    const std::string key = each["key"].get<std::string>();
    std::string text = labelText(each["level"].get<std::string>());
    text.append("  ").append(file);
    if (each["line"] != 0) text.append(":").append(each["line"].dump());
    text.append("  ").append(key).append(key.empty() ? "" : ": ").append(each["message"].get<std::string>());
    printLine(text);
    if (each.contains("command")) printLine("         " + each["command"].get<std::string>());
  }
}

int exitCodeOf(const Trial& trial, const Findings& findings, bool strict) {
  if (!trial.initialised) return kNotInitialised;
  const bool passes = trial.code == kSuccess && !findings.hasErrors() && !(strict && findings.hasWarnings());
  return passes ? kOk : kFailed;
}

// readEnced: asks for a password only at a terminal; a password that is missing gets a finding later.
void readEnced(const CommonOptions& options, const PropertyText& properties, std::string& enced) {
  if (options.encedFile.empty() && !isTerminal(stdin)) return;
  static_cast<void>(obtainEnced(options, properties, enced));
}

void explain(const CheckInput& input, const Trial& trial, bool isLoaded, Findings& findings) {
  ConfigCheck check(input, findings);
  check.examineLines();
  if (!isLoaded) return;
  check.examineSettings(trial.logIsWritten);
  check.examineFiles();
  if (trial.signature) check.examineSignature(trial.signature.get());
  if (trial.initialised && trial.code != kSuccess) check.explainUnsigned(trial.code);
}

void printReport(const std::string& file, const Trial& trial, const Json& findings, bool asJson) {
  const std::string verdict = verdictText(trial);
  if (asJson) {
    return printListing({{"file", file},
                         {"findings", findings},
                         {"certificates", namesOf(trial)},
                         {"code", trial.code},
                         {"verdict", verdict}},
                        true);
  }
  printFindings(file, findings);
  printLine(verdict);
}

int runCheck(const CheckOptions& options) {
  const std::string& path = options.common.propertyFile;
  std::string bytes;
  const bool isRead = readRegularFile(path, bytes);
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  cProperty settings;
  const bool isLoaded = settings.loadFromFile(path);
  std::string enced;
  readEnced(options.common, properties, enced);
  const Trial trial = tryLibrary(path, enced, settings);
  Findings findings(properties);
  if (isRead) {
    explain({path, bytes, properties, settings, enced, static_cast<int>(options.warnDays)}, trial, isLoaded, findings);
  } else {
    findings.addAtLine(0, whyFileUnreadable(path), "", {fromTerminal(path)});
  }
  printReport(fromTerminal(path), trial, findings.list(), options.common.json);
  return exitCodeOf(trial, findings, options.strict);
}

}  // namespace

void addCheck(CommandLine& line) {
  const auto options = std::make_shared<CheckOptions>();
  const Command command =
      line.add("check", "find out what is wrong with a property file"_m, [options] { return runCheck(*options); });
  addCommon(command, options->common);
  command.add("--warn-days", options->warnDays, "warn of certificates that expire within so many days"_m)
      .check(numberBetween(0, kMaxDays));
  command.add("--strict", options->strict, "fail on warnings, too"_m);
  command.addExamples({{"as the account that signs, so that its permissions count"_m,
                        "sudo -u payroll zepasign check -c app.properties"},
                       {"with the encrypted password that goes with PSWD.authKey"_m,
                        "zepasign check -c app.properties --enced-file enced.txt"},
                       {"for monitoring"_m, "zepasign check -c app.properties --json --strict --warn-days 14"}});
}

}  // namespace zepasign::tools
