// BatchReport: counts the outcomes of a run and tells the user: a progress bar, lines of JSON as they come, and the
// summary at the end. Only what failed is kept. Any thread may call it.
#ifndef ZEPASIGN_TOOLS_COMMANDS_BATCH_REPORT_H_
#define ZEPASIGN_TOOLS_COMMANDS_BATCH_REPORT_H_

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "tools/commands/signing.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

// ReportWords: what a run does to its files: the key of the count in JSON, and the counts as text.
struct ReportWords {
  const char* done;
  Message summary;
  Message interruption;
};

class BatchReport final {
 public:
  // Style: text on the standard error, one JSON object at the end, or a JSON object per line: one for each job as soon
  // as it is done, and the summary as the last. The texts of all styles are UTF-8; JSON is written in ASCII.
  enum class Style { kText, kJson, kJsonLines };

  // BatchReport: `total` is the number of files, 0 when it is not known.
  BatchReport(Style style, const ReportWords& words, std::size_t total)
      : style_(style), words_(words), progress_(total, style != Style::kJsonLines) {}

  // addOutcome: counts a job that was done or has failed. With kJsonLines its line is printed at once; otherwise a
  // failure is kept for the summary. A job that was done costs no memory.
  void addOutcome(const SigningJob& job, const Outcome& outcome);
  // addSkipped: counts a job that --resume passes over because its signature is complete.
  void addSkipped(const SigningJob& job);

  // hasFailures: whether a job has failed. REQUIRES: no other thread adds an outcome at the same time. An
  // initialisation that failed is not counted here.
  [[nodiscard]] bool hasFailures() const { return failed_ > 0; }

  // print: the summary. `initialised` is the outcome of the initialisation; when it failed, the property file stands
  // among the failures. `isInterrupted` tells that the user ended the run.
  void print(const std::string& propertyFile, const Outcome& initialised, bool isInterrupted);

 private:
  // Failure: what is kept of a job that failed.
  struct Failure {
    SigningJob job;
    Outcome outcome;
  };
  // summary: the counts "signed" (or another word), "skipped" and "failed", the list "failures", and "interrupted" when
  // it is true.
  [[nodiscard]] Json summary(const Outcome& initialised, const std::string& propertyFile, bool isInterrupted) const;
  // printText: the same as text on the standard error: first the failures in the order of the jobs, then the counts,
  // unless there were fewer than two jobs and no interruption.
  void printText(const Outcome& initialised, const std::string& propertyFile, bool isInterrupted) const;

  // progress_: a bar or a number on the standard error; not shown with kJsonLines.
  Style style_;
  ReportWords words_;
  // mutex_: protects all members below, and keeps lines of output whole.
  std::mutex mutex_;
  Progress progress_;
  // done_, skipped_, failed_: jobs. failures_: empty with kJsonLines.
  std::size_t done_ = 0;
  std::size_t skipped_ = 0;
  std::size_t failed_ = 0;
  std::vector<Failure> failures_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_BATCH_REPORT_H_
