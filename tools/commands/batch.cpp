#include "tools/commands/batch.h"

#include <algorithm>

#include "base/errors.h"
#include "tools/commands/command_line.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

constexpr unsigned kMaxProcesses = 256;
// kSignalExit: added to the number of the signal that ended a run, as shells do.
constexpr int kSignalExit = 128;

bool usesStreams(const JobOptions& options) {
  const auto isInput = [](const std::string& file) { return file == "-"; };
  return std::any_of(options.files.begin(), options.files.end(), isInput) ||
         (!options.output.empty() && isStandardOutput(options.output));
}

}  // namespace

Option addBatchOptions(const Command& command, BatchOptions& options, const Option& json, const Message& resumeHelp) {
  command.add("--json-lines", options.jsonLines, "print a line of JSON for each file"_m).excludes(json);
  command.add("--jobs", options.jobs, "worker processes"_m).check(numberBetween(1, kMaxProcesses));
  return command.add("--resume", options.resume, resumeHelp);
}

Batch::Batch(const BatchOptions& options, const ReportWords& words, std::string subject)
    : options_(options),
      subject_(std::move(subject)),
      report_(options.style(), words, options.isPlanned() ? options.files.size() : 0) {}

int Batch::run() {
  std::string wrong = mistake();
  if (wrong.empty() && options_.isPlanned()) wrong = refusalOfAny();
  if (!wrong.empty()) return printError(wrong), kUsage;
  if (const int code = prepare(); code != kOk) return code;
  const Interruption interruption;
  run_ = makeRun([this](const SigningJob& job, const Outcome& outcome) { report_.addOutcome(job, outcome); });
  const bool allFound =
      visitJobs(options_, [this](const SigningJob& job, const Outcome& problem) { return visit(job, problem); });
  return conclude(allFound);
}

std::size_t Batch::processes() const {
  if (usesStreams(options_)) return 1;
  return options_.isPlanned() ? std::min<std::size_t>(options_.jobs, options_.files.size()) : options_.jobs;
}

std::string Batch::refusalOf(const SigningJob& job) {
  if (options_.style() != BatchReport::Style::kText && isStandardOutput(job.output)) {
    return tr("--json and a signature cannot both go to the standard output"_m);
  }
  return refusal(job);
}

// refusalOfAny: when the command line names every file, all are looked at before the first job is done.
std::string Batch::refusalOfAny() {
  std::string wrong;
  static_cast<void>(visitJobs(options_, [this, &wrong](const SigningJob& job, const Outcome&) {
    wrong = refusalOf(job);
    return wrong.empty();
  }));
  return wrong;
}

// visit: false when the run is over.
bool Batch::visit(SigningJob job, const Outcome& problem) {
  if (Interruption::signal() != 0) return false;
  job.number = ++found_;
  if (problem.code != kSuccess) return report_.addOutcome(job, problem), true;
  const std::string refused = options_.isPlanned() ? "" : refusalOf(job);
  if (!refused.empty()) return report_.addOutcome(job, {kOutputUnwritable, refused}), true;
  if (options_.resume && isDone(job)) return report_.addSkipped(job), true;
  if (!makeRoom(job)) return report_.addOutcome(job, outcomeOf(kOutputUnwritable)), true;
  return run_->submit(job);
}

int Batch::conclude(bool allFound) {
  const Outcome initialised = run_->finish();
  const int signal = Interruption::signal();
  report_.print(subject_, initialised, signal != 0);
  if (signal != 0) return kSignalExit + signal;
  if (initialised.code != kSuccess) return kNotInitialised;
  return allFound && !report_.hasFailures() ? kOk : kFailed;
}

}  // namespace zepasign::tools
