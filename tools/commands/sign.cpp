// zepasign sign: one file or thousands.
#include <set>

#include "base/cleanse.h"
#include "base/errors.h"
#include "base/platform.h"
#include "tools/commands/command_line.h"
#include "tools/commands/password.h"
#include "tools/commands/signing.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct SignOptions : CommonOptions {
  std::vector<std::string> files;
  std::string output;
  std::string outputFolder;
  std::string encoding;
  bool der = false;
  bool pem = false;
  bool resume = false;
  unsigned jobs = 1;
};

// Plan: what is to be done, and how much of it was done before.
struct Plan {
  std::vector<SigningJob> jobs;
  std::size_t skipped = 0;
};

std::string formOf(const SignOptions& options) { return options.der ? "der" : options.pem ? "pem" : "base64"; }

std::string extensionOf(const SignOptions& options) {
  return options.der ? ".p7s" : options.pem ? ".p7s.pem" : ".p7s.b64";
}

// outputOf: the signature's place: as the user says, else beside the file, else the standard output.
std::string outputOf(const SignOptions& options, const std::string& input) {
  if (!options.output.empty()) return options.output;
  const bool isStream = input == "-";
  if (options.outputFolder.empty()) return isStream ? "-" : input + extensionOf(options);
  return options.outputFolder + "/" + (isStream ? "stdin" : fileNameOf(input)) + extensionOf(options);
}

// isDone: whether a signature is there; files come to their place whole, so an empty one is not ours.
bool isDone(const std::string& output) {
  const platform::FilePtr file = output == "-" ? nullptr : platform::openForReading(output.c_str());
  return file != nullptr && platform::fileSize(file.get()) > 0;
}

// overwrites: whether one of the files that are to be signed would be lost with a signature at that place.
bool overwrites(const std::string& output, const std::set<std::string>& inputs) {
  return output != "-" && inputs.contains(canonicalPath(output));
}

// makePlan: false, after a complaint, when what the user wants cannot be.
bool makePlan(const SignOptions& options, Plan& plan) {
  std::set<std::string> inputs;
  for (const std::string& file : options.files) inputs.insert(canonicalPath(file));
  std::set<std::string> places;
  for (const std::string& input : options.files) {
    SigningJob job{input, outputOf(options, input)};
    if (!places.insert(canonicalPath(job.output)).second) {
      printError(tr("{0}: two signatures would go there"_m, {fromTerminal(job.output)}));
      return false;
    }
    if (options.resume && isDone(job.output)) {
      ++plan.skipped;
    } else if (overwrites(job.output, inputs)) {
      printError(tr("{0}: a signature would go there, but the file is to be signed"_m, {fromTerminal(job.output)}));
      return false;
    } else {
      plan.jobs.push_back(std::move(job));
    }
  }
  if (!options.output.empty() && options.files.size() > 1) {
    printError(tr("-o takes one file; --out-dir takes many"_m));
    return false;
  }
  if (options.json && places.contains(canonicalPath("-"))) {
    printError(tr("--json and a signature cannot both go to the standard output"_m));
    return false;
  }
  return true;
}

Json failure(const std::string& file, const Outcome& outcome) {
  return {{"file", fromTerminal(file)}, {"code", outcome.code}, {"message", outcome.meaning}};
}

// Tally: the outcome of each job in its order; a job that was never reached has none.
class Tally final {
 public:
  explicit Tally(const Plan& plan) : plan_(plan), outcomes_(plan.jobs.size()), progress_(plan.jobs.size()) {}

  void add(std::size_t index, const Outcome& outcome) {
    outcomes_[index] = outcome;
    ++(outcome.code == kSuccess ? signed_ : failed_);
    progress_.show(signed_ + failed_);
  }
  [[nodiscard]] bool allGood() const { return signed_ == plan_.jobs.size(); }

  [[nodiscard]] Json summary() const {
    Json failures = Json::array();
    for (std::size_t i = 0; i < outcomes_.size(); ++i) {
      if (outcomes_[i].code != kSuccess) failures.push_back(failure(plan_.jobs[i].input, outcomes_[i]));
    }
    return {{"signed", signed_}, {"skipped", plan_.skipped}, {"failed", failed_}, {"failures", failures}};
  }

 private:
  const Plan& plan_;
  std::vector<Outcome> outcomes_;
  std::size_t signed_ = 0;
  std::size_t failed_ = 0;
  Progress progress_;
};

void report(const SignOptions& options, const Json& summary, int result) {
  if (options.json) return printListing(summary, true);
  for (const Json& each : summary["failures"]) {
    printError(each["file"].get<std::string>() + ": " + each["message"].get<std::string>());
  }
  if (result == kNotInitialised) printError(tr("zepasign check -c tells what is wrong"_m));
  if (options.files.size() < 2) return;
  printError(tr("{0} signed, {1} skipped, {2} failed"_m,
                {summary["signed"].dump(), summary["skipped"].dump(), summary["failed"].dump()}));
}

// signPlan: the run itself. A property file that fails stands in the summary as a file that failed.
int signPlan(const SignOptions& options, const SigningSetup& setup, const Plan& plan, Json& summary) {
  Tally tally(plan);
  const Outcome initialised =
      signAll(setup, plan.jobs, options.jobs,
              [&tally](std::size_t index, const Outcome& outcome) { tally.add(index, outcome); });
  summary = tally.summary();
  if (initialised.code == kSuccess) return tally.allGood() ? kOk : kFailed;
  summary["failures"].push_back(failure(options.propertyFile, initialised));
  return kNotInitialised;
}

int runSign(const SignOptions& options) {
  Plan plan;
  if (!makePlan(options, plan)) return kUsage;
  std::string bytes;
  static_cast<void>(readRegularFile(options.propertyFile, bytes));  // the library will say what is wrong with it
  const CleanseOnExit wipe(bytes);
  SigningSetup setup{options.propertyFile, {}, options.encoding, formOf(options)};
  if (!obtainEnced(options, PropertyText(bytes), setup.encedPassword)) return kNotInitialised;
  if (!options.outputFolder.empty() && !platform::createFolder(options.outputFolder.c_str())) {
    printError(tr("{0}: cannot be written"_m, {fromTerminal(options.outputFolder)}));
    return kFailed;
  }
  Json summary;
  const int result = signPlan(options, setup, plan, summary);
  report(options, summary, result);
  return result;
}

}  // namespace

void addSign(CommandLine& line) {
  const auto options = std::make_shared<SignOptions>();
  CLI::App* command = line.add("sign", "sign files"_m, [options] { return runSign(*options); });
  addCommon(command, *options);
  command->add_option(helpText("FILE"_m), options->files, helpText("files to sign; - is the standard input"_m))
      ->required();
  command->add_option("--text", options->encoding, helpText("sign as text: Big5, converted to this encoding first"_m))
      ->type_name("BIG5|UTF-16LE")
      ->check(oneOf({"BIG5", "UTF-16LE"}));
  auto* output =
      command->add_option("-o,--output", options->output, helpText("the signature's file; - is the standard output"_m));
  command->add_option("--out-dir", options->outputFolder, helpText("folder for the signatures"_m))->excludes(output);
  auto* der = command->add_flag("--der", options->der, helpText("write DER instead of Base64 text"_m));
  command->add_flag("--pem", options->pem, helpText("write PEM instead of Base64 text"_m))->excludes(der);
  command->add_option("--jobs", options->jobs, helpText("worker processes"_m))->check(numberBetween(1, 256));
  command->add_flag("--resume", options->resume, helpText("do only what is missing"_m));
  addExamples(command,
              {{"one file; the signature is written beside it"_m, "zepasign sign -c app.properties contract.pdf"},
               {"many files with two processes"_m, "zepasign sign -c app.properties --jobs 2 --out-dir signed *.pdf"},
               {"in a pipe"_m, "cat contract.pdf | zepasign sign -c app.properties --der - > contract.p7s"}});
}

}  // namespace zepasign::tools
