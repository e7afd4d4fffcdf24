#include "tools/commands/batch_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/errors.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

Json failureJson(const SigningJob& job, const Outcome& outcome) {
  Json failure = {{"file", fromTerminal(job.input)}, {"code", outcome.code}, {"message", outcome.meaning}};
  if (job.entry != 0) failure["entry"] = job.entry;
  return failure;
}

// failureText: the entry's number comes first, since the list is what the user corrects.
std::string failureText(const SigningJob& job, const Outcome& outcome) {
  const std::string entry = job.entry == 0 ? "" : tr("entry {0}"_m, {std::to_string(job.entry)}) + ": ";
  return entry + (job.input.empty() ? "" : fromTerminal(job.input) + ": ") + outcome.meaning;
}

void printJsonLine(const Json& object) {
  printBytes(object.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n");
  flushOutput();
}

}  // namespace

void BatchReport::addOutcome(const SigningJob& job, const Outcome& outcome) {
  const std::lock_guard lock(mutex_);
  const bool good = outcome.code == kSuccess;
  ++(good ? done_ : failed_);
  progress_.show(done_ + skipped_ + failed_);
  if (style_ == Style::kJsonLines) {
    Json line = {{"file", fromTerminal(job.input)}, {"output", fromTerminal(job.output)}, {"code", outcome.code}};
    if (!good) line["message"] = outcome.meaning;
    printJsonLine(line);
  } else if (!good) {
    failures_.push_back({job, outcome});
  }
}

void BatchReport::addSkipped(const SigningJob& job) {
  const std::lock_guard lock(mutex_);
  ++skipped_;
  progress_.show(done_ + skipped_ + failed_);
  if (style_ == Style::kJsonLines) printJsonLine({{"file", fromTerminal(job.input)}, {"skipped", true}});
}

void BatchReport::print(const std::string& propertyFile, const Outcome& initialised, bool isInterrupted) {
  const std::lock_guard lock(mutex_);
  progress_.erase();
  // Workers finish in any order; with one process this is the order of the jobs already.
  std::stable_sort(failures_.begin(), failures_.end(),
                   [](const Failure& a, const Failure& b) { return a.job.number < b.job.number; });
  if (style_ == Style::kText) return printText(initialised, propertyFile, isInterrupted);
  const Json object = summary(initialised, propertyFile, isInterrupted);
  style_ == Style::kJson ? printListing(object, true) : printJsonLine(object);
}

Json BatchReport::summary(const Outcome& initialised, const std::string& propertyFile, bool isInterrupted) const {
  Json failures = Json::array();
  for (const Failure& each : failures_) failures.push_back(failureJson(each.job, each.outcome));
  if (initialised.code != kSuccess) failures.push_back(failureJson({propertyFile, ""}, initialised));
  Json object = {{words_.done, done_}, {"skipped", skipped_}, {"failed", failed_}, {"failures", std::move(failures)}};
  if (isInterrupted) object["interrupted"] = true;
  return object;
}

void BatchReport::printText(const Outcome& initialised, const std::string& propertyFile, bool isInterrupted) const {
  for (const Failure& each : failures_) printError(failureText(each.job, each.outcome));
  if (initialised.code != kSuccess) {
    printError(failureText({propertyFile, ""}, initialised));
    printError(tr("run zepasign check -c to see what is wrong"_m));
  }
  if (done_ + skipped_ + failed_ < 2 && !isInterrupted) return;
  const Message& counts = isInterrupted ? words_.interruption : words_.summary;
  printError(tr(counts, {std::to_string(done_), std::to_string(skipped_), std::to_string(failed_)}));
}

}  // namespace zepasign::tools
