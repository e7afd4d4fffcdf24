// zepasign sign: one file or millions. The main thread finds the jobs one by one, decides whether each is to be done,
// and hands it to the run, which signs here or in worker processes; the report counts what became of it.
#include <algorithm>
#include <memory>

#include "base/cleanse.h"
#include "base/errors.h"
#include "base/platform.h"
#include "tools/commands/command_line.h"
#include "tools/commands/password.h"
#include "tools/commands/sign_guard.h"
#include "tools/commands/sign_jobs.h"
#include "tools/commands/sign_report.h"
#include "tools/commands/signing.h"
#include "tools/files/signaturefile.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

constexpr unsigned kMaxProcesses = 256;
// kSignalExit: added to the number of the signal that ended a run, as shells do.
constexpr int kSignalExit = 128;

struct SignOptions : CommonOptions, JobOptions {
  std::string encoding;
  bool der = false;
  bool pem = false;
  bool jsonLines = false;
  bool resume = false;
  unsigned jobs = 1;

  [[nodiscard]] SignReport::Style style() const {
    if (jsonLines) return SignReport::Style::kJsonLines;
    return json ? SignReport::Style::kJson : SignReport::Style::kText;
  }
};

// createFolders: with those above it.
bool createFolders(const std::string& folder) {
  if (folder.empty() || isFolder(folder)) return true;
  const std::string name = fileNameOf(folder);
  if (name.empty()) return createFolders(folder.substr(0, folder.size() - 1));  // a separator at the end
  return createFolders(folder.substr(0, folder.size() - name.size())) && platform::createFolder(folder.c_str());
}

// isDone: whether the signature is there, complete, and no older than the file.
bool isDone(const SigningJob& job, SignatureForm form) {
  const FileStatus output = statusOf(job.output);
  return output.isRegular() && statusOf(job.input).modified <= output.modified && isSignatureFile(job.output, form);
}

// usesStreams: only this process has the user's standard streams.
bool usesStreams(const SignOptions& options) {
  const auto isInput = [](const std::string& file) { return file == "-"; };
  return std::any_of(options.files.begin(), options.files.end(), isInput) ||
         (!options.output.empty() && isStandardOutput(options.output));
}

// mistake: what is wrong with the arguments as a whole; empty when they fit.
std::string mistake(const SignOptions& options) {
  if (options.files.empty() == options.filesFrom.empty()) return tr("name files, or a list with --files-from"_m);
  if (options.pairs && options.filesFrom.empty()) return tr("--pairs needs --files-from"_m);
  const bool isOne = options.isPlanned() && options.files.size() == 1;
  return options.output.empty() || isOne ? "" : tr("-o takes one file; --out-dir takes many"_m);
}

class SignCommand final {
 public:
  SignCommand(const SignOptions& options, const PropertyText& properties)
      : options_(options),
        properties_(properties),
        guard_(options, properties, options.propertyFile, options.encedFile),
        report_(options.style(), options.isPlanned() ? options.files.size() : 0) {}

  int run() {
    std::string wrong = mistake(options_);
    if (wrong.empty() && options_.isPlanned()) wrong = refusalOfAny();
    if (!wrong.empty()) return printError(wrong), kUsage;
    SigningSetup setup{options_.propertyFile, {}, options_.encoding, options_.form};
    if (!obtainEnced(options_, properties_, setup.encedPassword)) return kNotInitialised;
    const Interruption interruption;
    run_ = makeRun(setup);
    const bool allFound =
        visitJobs(options_, [this](const SigningJob& job, const Outcome& problem) { return visit(job, problem); });
    return conclude(allFound);
  }

 private:
  // refusalOfAny: when the command line names every file, all are looked at before the first is signed.
  std::string refusalOfAny() {
    std::string wrong;
    static_cast<void>(visitJobs(options_, [this, &wrong](const SigningJob& job, const Outcome&) {
      wrong = refusal(job);
      return wrong.empty();
    }));
    return wrong;
  }

  std::string refusal(const SigningJob& job) {
    if (options_.style() != SignReport::Style::kText && isStandardOutput(job.output)) {
      return tr("--json and a signature cannot both go to the standard output"_m);
    }
    return guard_.refusal(job);
  }

  std::unique_ptr<SigningRun> makeRun(const SigningSetup& setup) {
    const Done done = [this](const SigningJob& job, const Outcome& outcome) { report_.addOutcome(job, outcome); };
    const std::size_t processes =
        options_.isPlanned() ? std::min<std::size_t>(options_.jobs, options_.files.size()) : options_.jobs;
    return processes > 1 && !usesStreams(options_) ? makeWorkerRun(setup, processes, done) : makeLocalRun(setup, done);
  }

  // visit: false when the run is over.
  bool visit(SigningJob job, const Outcome& problem) {
    if (Interruption::signal() != 0) return false;
    job.number = ++found_;
    if (problem.code != kSuccess) return report_.addOutcome(job, problem), true;
    const std::string refused = options_.isPlanned() ? "" : refusal(job);
    if (!refused.empty()) return report_.addOutcome(job, {kOutputUnwritable, refused}), true;
    if (options_.resume && isDone(job, options_.form)) return report_.addSkipped(job), true;
    if (!makeFolder(job.output)) return report_.addOutcome(job, outcomeOf(kOutputUnwritable)), true;
    return run_->submit(job);
  }

  // makeFolder: that of a signature below --out-dir; the one of the last signature is known to be there.
  bool makeFolder(const std::string& output) {
    if (options_.outputFolder.empty()) return true;
    std::string folder = output.substr(0, output.size() - fileNameOf(output).size());
    if (folder == lastFolder_) return true;
    lastFolder_ = std::move(folder);
    return createFolders(lastFolder_);
  }

  int conclude(bool allFound) {
    const Outcome initialised = run_->finish();
    const int signal = Interruption::signal();
    report_.print(options_.propertyFile, initialised, signal != 0);
    if (signal != 0) return kSignalExit + signal;
    if (initialised.code != kSuccess) return kNotInitialised;
    return allFound && !report_.hasFailures() ? kOk : kFailed;
  }

  const SignOptions& options_;
  const PropertyText& properties_;
  OutputGuard guard_;
  SignReport report_;
  std::unique_ptr<SigningRun> run_;
  std::size_t found_ = 0;
  std::string lastFolder_;
};

int runSign(SignOptions& options) {
  options.form = options.der ? SignatureForm::kDer : options.pem ? SignatureForm::kPem : SignatureForm::kBase64;
  std::string bytes;
  static_cast<void>(readRegularFile(options.propertyFile, bytes));  // the library will say what is wrong with it
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  return SignCommand(options, properties).run();
}

// addInputs: returns --pairs.
Option addInputs(const Command& command, SignOptions& options) {
  command.add(helpText("FILE"_m), options.files, "files to sign; - is the standard input"_m);
  command.add("--files-from", options.filesFrom,
              "list of files to sign, ended by line ends or zero bytes; - is the standard input"_m);
  const Option pairs =
      command.add("--pairs", options.pairs, "in the list, each file is followed by its signature's file"_m);
  command.add("--recursive", options.recursive, "sign the files in directories"_m);
  command.add("--text", options.encoding, "sign as text: Big5, converted to this encoding first"_m)
      .valueName("BIG5|UTF-16LE")
      .check(oneOf({"BIG5", "UTF-16LE"}));
  return pairs;
}

void addOutputs(const Command& command, SignOptions& options, const Option& pairs, const Option& json) {
  const Option output = command.add("-o,--output", options.output, "the signature's file; - is the standard output"_m);
  const Option folder = command.add("--out-dir", options.outputFolder, "directory for the signatures"_m);
  folder.excludes(output);
  pairs.excludes(output).excludes(folder);
  const Option der = command.add("--der", options.der, "write DER instead of Base64 text"_m);
  command.add("--pem", options.pem, "write PEM instead of Base64 text"_m).excludes(der);
  command.add("--json-lines", options.jsonLines, "print a line of JSON for each file"_m).excludes(json);
}

}  // namespace

void addSign(CommandLine& line) {
  const auto options = std::make_shared<SignOptions>();
  const Command command = line.add("sign", "sign files"_m, [options] { return runSign(*options); });
  const Option json = addCommon(command, *options);
  const Option pairs = addInputs(command, *options);
  addOutputs(command, *options, pairs, json);
  command.add("--jobs", options->jobs, "worker processes"_m).check(numberBetween(1, kMaxProcesses));
  command.add("--resume", options->resume, "make only missing, older or damaged signatures"_m);
  command.addExamples(
      {{"one file; the signature is written beside it"_m, "zepasign sign -c app.properties contract.pdf"},
       {"a directory, with two processes"_m, "zepasign sign -c app.properties --jobs 2 --recursive documents"},
       {"files from find"_m, "find . -name '*.pdf' -print0 | zepasign sign -c app.properties --files-from -"},
       {"in a pipe"_m, "cat contract.pdf | zepasign sign -c app.properties --der - > contract.p7s"}});
}

}  // namespace zepasign::tools
