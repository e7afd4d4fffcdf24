// SignReport: counts the outcomes of a run and tells the user: a progress bar, lines of JSON as they come, and the
// summary at the end. Only what failed is kept. Any thread may call it.
#ifndef ZEPASIGN_TOOLS_COMMANDS_SIGN_REPORT_H_
#define ZEPASIGN_TOOLS_COMMANDS_SIGN_REPORT_H_

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "tools/commands/signing.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {

class SignReport final {
 public:
  // Style: text on the standard error, one JSON object at the end, or a JSON object per line: one for each job as soon
  // as it is done, and the summary as the last.
  enum class Style { kText, kJson, kJsonLines };

  // SignReport: `total` is the number of files, 0 when it is not known.
  SignReport(Style style, std::size_t total) : style_(style), progress_(total, style != Style::kJsonLines) {}

  void addOutcome(const SigningJob& job, const Outcome& outcome);
  void addSkipped(const SigningJob& job);

  [[nodiscard]] bool hasFailures() const { return failed_ > 0; }

  // print: the summary. `initialised` is the outcome of the initialisation; when it failed, the property file stands
  // among the failures. `isInterrupted` tells that the user ended the run.
  void print(const std::string& propertyFile, const Outcome& initialised, bool isInterrupted);

 private:
  struct Failure {
    SigningJob job;
    Outcome outcome;
  };
  [[nodiscard]] Json summary(const Outcome& initialised, const std::string& propertyFile, bool isInterrupted) const;
  void printText(const Outcome& initialised, const std::string& propertyFile, bool isInterrupted) const;

  Style style_;
  std::mutex mutex_;
  Progress progress_;
  std::size_t signed_ = 0;
  std::size_t skipped_ = 0;
  std::size_t failed_ = 0;
  std::vector<Failure> failures_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_SIGN_REPORT_H_
