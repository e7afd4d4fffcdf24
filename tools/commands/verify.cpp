// zepasign verify: whether signatures are valid, who made them, when, and with which chain.
#include <cstring>
#include <nlohmann/json.hpp>

#include "base/errors.h"
#include "base/platform.h"
#include "tools/commands/batch_jobs.h"
#include "tools/commands/command_line.h"
#include "tools/commands/trust_files.h"
#include "tools/files/describe.h"
#include "tools/files/paths.h"
#include "tools/files/signature_check.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct VerifyOptions {
  JobOptions inputs = {};
  std::string content;
  std::string authorities;
  std::string timeAuthorities;
  std::vector<std::string> crls;
  std::string time;
  std::string output;
  unsigned warnDays = 0;
  bool strict = false;
  bool json = false;

  // isPlain: whether everything is listed, and not only what needs attention.
  [[nodiscard]] bool isPlain() const { return warnDays == 0; }
};

// Terms: by what the signatures of a run are judged.
struct Terms {
  Trust signers;
  Trust authorities;
  CheckTime time;
};

// exitCodeOf: what a verdict ends the program with.
int exitCodeOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kValid:
      return kOk;
    case Verdict::kChanged:
      return kChanged;
    case Verdict::kExpired:
      return kExpired;
    case Verdict::kRevoked:
      return kRevoked;
    case Verdict::kUntrusted:
      return kUntrusted;
    default:
      return kFailed;
  }
}

// contentBeside: where the content of a detached signature is, when its file was named as `zepasign sign` names it:
// for a.p7s, a.p7s.b64 and a.p7s.pem, a. Empty when there is no such file.
std::string contentBeside(const std::string& signature) {
  for (const char* extension : {".p7s", ".p7s.b64", ".p7s.pem"}) {
    if (!signature.ends_with(extension)) continue;
    std::string path = signature.substr(0, signature.size() - std::strlen(extension));
    if (platform::openForReading(path.c_str()) != nullptr) return path;
  }
  return {};
}

// contentPath: of the content of one detached signature: the file that the user named, the one in the directory that
// the user named, or the one beside the signature. Empty when there is none.
std::string contentPath(const VerifyOptions& options, const std::string& signature) {
  if (options.content.empty()) return contentBeside(signature);
  if (!isDirectory(options.content)) return options.content;
  return contentBeside(options.content + platform::kDirectorySeparator + fileNameOf(signature));
}

BioPtr openContent(const std::string& path) {
  return BioPtr(path == "-" ? BIO_new_fp(stdin, BIO_NOCLOSE) : BIO_new_file(path.c_str(), "rb"));
}

bool writeContent(const PKCS7* pkcs7, const std::string& path) {
  const PKCS7* contents = pkcs7->d.sign->contents;
  const ASN1_OCTET_STRING* content = PKCS7_type_is_data(contents) ? contents->d.data : nullptr;
  if (content == nullptr) return false;
  const auto* bytes = reinterpret_cast<const char*>(ASN1_STRING_get0_data(content));
  return writeFile(path, std::string(bytes, static_cast<std::size_t>(ASN1_STRING_length(content))));
}

// verifyFile: the verdict over one signature. Valid embedded content is written where the user wants it.
Verdict verifyFile(const VerifyOptions& options, const std::string& path, const Terms& terms, Json& report) {
  CryptoFile file;
  const bool isRead = readCryptoFile(path, file);
  if (!file.pkcs7 || sk_PKCS7_SIGNER_INFO_num(signersOf(file.pkcs7.get())) <= 0) {
    report["reason"] = isRead ? tr("not a PKCS#7 signature"_m) : tr("the file cannot be read"_m);
    return Verdict::kUnreadable;
  }
  BioPtr content;
  if (PKCS7_get_detached(file.pkcs7.get()) != 0 || !options.content.empty()) {
    const std::string contentFile = contentPath(options, path);
    content = contentFile.empty() ? nullptr : openContent(contentFile);
    if (!contentFile.empty()) report["content"] = fromTerminal(contentFile);
  }
  Verdict verdict =
      checkSignature({file.pkcs7.get(), content.get(), terms.signers, terms.authorities, terms.time}, report);
  if (verdict == Verdict::kValid && !options.output.empty() && !writeContent(file.pkcs7.get(), options.output)) {
    report["reason"] = tr("{0}: cannot be written"_m, {fromTerminal(options.output)});
    verdict = Verdict::kIncomplete;
  }
  return verdict;
}

// obtainTrust: false, after an error message, when a file that the user named holds nothing of the kind.
bool obtainTrust(const VerifyOptions& options, Terms& terms) {
  for (const std::string& crl : options.crls) {
    if (!readCrls(crl, terms.signers) || !readCrls(crl, terms.authorities)) return false;
  }
  return readAuthorities(options.authorities, terms.signers) &&
         readAuthorities(options.timeAuthorities, terms.authorities);
}

// filesRead: all that is read for one signature. Of a detached one nothing is written, so the content beside it is
// safe.
std::vector<std::string> filesRead(const VerifyOptions& options) {
  std::vector<std::string> files = {options.inputs.files.front()};
  if (!options.content.empty()) files.push_back(contentPath(options, options.inputs.files.front()));
  std::vector<std::string> places = options.crls;
  places.insert(places.end(), {options.authorities, options.timeAuthorities});
  for (const std::string& place : places) {
    for (std::string& each : filesAt(place)) files.push_back(std::move(each));
  }
  return files;
}

// mistakeIn: what is wrong with options that each are right by themselves; empty when nothing is.
std::string mistakeIn(const VerifyOptions& options) {
  const JobOptions& inputs = options.inputs;
  if (inputs.files.empty() == inputs.filesFrom.empty()) return tr("name signatures, or a list with --files-from"_m);
  if (options.output.empty()) return {};
  if (!inputs.isPlanned() || inputs.files.size() > 1) return tr("--output takes one signature"_m);
  if (isStandardOutput(options.output)) {
    return options.json ? tr("--json and the content cannot both go to the standard output"_m) : "";
  }
  const FileStatus output = statusOf(options.output);
  for (const std::string& each : filesRead(options)) {
    if (statusOf(each).isSameFile(output)) {
      return tr("{0}: the content would be written over a file that is read"_m, {fromTerminal(each)});
    }
  }
  return {};
}

// report: the listing, or the errors alone when the content goes to the standard output.
void report(const VerifyOptions& options, const Json& listing) {
  if (options.output.empty() || !isStandardOutput(options.output)) return printListing(listing, options.json);
  for (const Json& each : listing) {
    if (!each.contains("reason")) continue;
    printError(each["file"].get<std::string>() + ": " + each["reason"].get<std::string>());
  }
}

// merged: one exit code for the run: that of the failures when they are all alike, else the general one.
int merged(int before, int next) {
  if (next == kOk || before == next) return before;
  return before == kOk ? next : kFailed;
}

// whoseTime: in words, whose time counts for a signer.
std::string whoseTime(const Json& signer) {
  const std::string source = signer["timeSource"].get<std::string>();
  if (source == "nobody") return tr("nobody's: the certificates are judged at the time of this check"_m);
  if (source == "user") return tr("nobody's: the certificates are judged at the time given with --at"_m);
  if (source == "signer") return tr("the signer's clock, which proves nothing by itself"_m);
  return tr("the authority's: {0}"_m, {signer["timeStamps"][0]["authority"].get<std::string>()});
}

// sayInWords: for people, what stands for programs as one word.
void sayInWords(Json& entry) {
  entry["result"] = labelText(entry["result"].get<std::string>());
  if (!entry.contains("signers")) return;
  for (Json& signer : entry["signers"]) {
    if (signer.contains("timeSource")) signer["timeSource"] = whoseTime(signer);
  }
}

// warn: adds a warning when the proof ends soon; whether it did.
bool warn(const VerifyOptions& options, Json& entry) {
  if (options.isPlain() || !entry.contains("daysLeft")) return false;
  const int days = entry["daysLeft"].get<int>();
  if (days >= static_cast<int>(options.warnDays)) return false;
  entry["warning"] =
      days < 0 ? tr("the proof has ended"_m) : tr("the proof ends in {0} days"_m, {std::to_string(days)});
  return true;
}

// verifyOne: adds the report on a signature to the listing, if it belongs there; the exit code.
int verifyOne(const VerifyOptions& options, const Terms& terms, const SigningJob& job, const Outcome& problem,
              Json& listing) {
  Json entry = {{"file", fromTerminal(job.input)}, {"good", false}, {"result", ""}};
  Verdict verdict = Verdict::kUnreadable;
  if (problem.code == kSuccess) {
    verdict = verifyFile(options, job.input, terms, entry);
  } else {
    entry["reason"] = problem.meaning;
  }
  const bool isGood = verdict == Verdict::kValid;
  entry["good"] = isGood;
  entry["result"] = wordOf(verdict);
  const bool isWarned = warn(options, entry);
  if (!options.json) sayInWords(entry);
  if (options.isPlain() || !isGood || isWarned) listing.push_back(std::move(entry));
  return isGood && isWarned && options.strict ? kFailed : exitCodeOf(verdict);
}

int runVerify(const VerifyOptions& options) {
  Terms terms;
  if (const std::string mistake = mistakeIn(options); !mistake.empty()) {
    printError(mistake);
    return kUsage;
  }
  if (!options.time.empty() && !parseTime(options.time, terms.time)) return kUsage;  // the parser has checked it
  if (!obtainTrust(options, terms)) return kFailed;
  Json listing = Json::array();
  int result = kOk;
  const bool allFound = visitJobs(options.inputs, [&](const SigningJob& job, const Outcome& problem) {
    result = merged(result, verifyOne(options, terms, job, problem, listing));
    return true;
  });
  report(options, listing);
  return allFound ? result : kFailed;
}

std::string checkTimeText(const std::string& text) {
  CheckTime time;
  return parseTime(text, time) ? "" : helpText("write 2026-01-31, 2026-01-31T08:15:00Z (UTC) or signing"_m);
}

}  // namespace

void addVerify(CommandLine& line) {
  const auto options = std::make_shared<VerifyOptions>();
  options->inputs.isInPlace = true;
  const Command command = line.add("verify", "verify signatures"_m, [options] { return runVerify(*options); });
  command.add(helpText("SIGNATURE"_m), options->inputs.files, "signatures: DER, PEM or Base64 text"_m);
  command.add("--files-from", options->inputs.filesFrom,
              "list of signatures, ended by line ends or zero bytes; - is the standard input"_m);
  command.add("--recursive", options->inputs.recursive, "verify the signatures in directories"_m);
  command.add("--content", options->content, "the signed content of detached signatures, or its directory"_m);
  const Option authorities =
      command.add("--ca", options->authorities, "file or directory with certificates to trust"_m);
  command.add("--tsa-ca", options->timeAuthorities, "file or directory with certificates of authorities to trust"_m);
  command.add("--crl", options->crls, "file or directory with CRLs; may be repeated"_m).needs(authorities);
  command.add("--at", options->time, "time at which the certificates must be valid; default: now"_m)
      .valueName(helpText("TIME|signing"_m))
      .check(checkTimeText)
      .needs(authorities);
  const Option warnDays = command.add("--warn-days", options->warnDays,
                                      "show only what is not valid, or whose proof ends within so many days"_m);
  warnDays.check(numberBetween(1, kMaxDays));
  command.add("--strict", options->strict, "fail on warnings, too"_m).needs(warnDays);
  command.add("-o,--output", options->output, "file for the content of a valid signature"_m);
  addJson(command, options->json);
  command.addExamples(
      {{"a signature, against the CA that you trust"_m, "zepasign verify --ca ca.pem contract.p7s"},
       {"a detached signature and its content"_m, "zepasign verify --content contract contract.p7s"},
       {"an archived signature: valid when it was made, and not revoked then"_m,
        "zepasign verify --ca ca.pem --crl ca.crl --at signing contract.p7s"},
       {"a stamped signature, at the time that the authority has certified"_m,
        "zepasign verify --ca ca.pem --tsa-ca tsa.pem --at signing contract.p7s"},
       {"an archive: what must be stamped again within 90 days"_m,
        "zepasign verify --ca ca.pem --tsa-ca tsa.pem --at signing --recursive archive --warn-days 90 --strict"},
       {"a directory of signatures, for a program"_m, "zepasign verify --json --ca ca.pem signed/*"}});
}

}  // namespace zepasign::tools
