// Batch: a run of a sub-command over one file or millions. The main thread finds the jobs one by one, decides whether
// each is to be done, and hands it to the run, which does it here or in worker processes; the report counts what became
// of it.
//
// Thread rule: the main thread. The options must outlive the batch.
#ifndef ZEPASIGN_TOOLS_COMMANDS_BATCH_H_
#define ZEPASIGN_TOOLS_COMMANDS_BATCH_H_

#include <memory>
#include <string>

#include "tools/commands/batch_jobs.h"
#include "tools/commands/batch_report.h"
#include "tools/commands/options.h"
#include "tools/commands/signing.h"

namespace zepasign::tools {

// BatchOptions: the options of sub-commands that do something to many files.
struct BatchOptions : JobOptions {
  bool json = false;
  bool jsonLines = false;
  bool resume = false;
  unsigned jobs = 1;

  [[nodiscard]] BatchReport::Style style() const {
    if (jsonLines) return BatchReport::Style::kJsonLines;
    return json ? BatchReport::Style::kJson : BatchReport::Style::kText;
  }
};

// addBatchOptions: --json-lines, --jobs and --resume, whose help is `resumeHelp`; returns --resume. `json` is the
// option
// --json.
Option addBatchOptions(const Command& command, BatchOptions& options, const Option& json, const Message& resumeHelp);

class Batch {
 public:
  // Batch: `subject` is what the summary names when the run cannot begin.
  Batch(const BatchOptions& options, const ReportWords& words, std::string subject);
  virtual ~Batch() = default;
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  // run: an ExitCode, or 128 and the number of the signal that has interrupted it. Call it once.
  [[nodiscard]] int run();

 protected:
  // processes: how many worker processes make sense; 1 when only this one has the user's standard streams.
  [[nodiscard]] std::size_t processes() const;

 private:
  // mistake: what is wrong with the arguments as a whole (UTF-8); empty when they fit.
  [[nodiscard]] virtual std::string mistake() const = 0;
  // prepare: what must be there before the first job; an ExitCode, an error message printed unless it is kOk.
  [[nodiscard]] virtual int prepare() = 0;
  [[nodiscard]] virtual std::unique_ptr<SigningRun> makeRun(const Done& done) = 0;
  // refusal: why nothing may be written to the place of this job (UTF-8); empty when it may. Called once for each job.
  [[nodiscard]] virtual std::string refusal(const SigningJob& job) = 0;
  // isDone: whether --resume passes over the job. makeRoom: makes the directory for its output.
  [[nodiscard]] virtual bool isDone(const SigningJob& job) = 0;
  [[nodiscard]] virtual bool makeRoom(const SigningJob& /*job*/) { return true; }

  [[nodiscard]] std::string refusalOf(const SigningJob& job);
  [[nodiscard]] std::string refusalOfAny();
  [[nodiscard]] bool visit(SigningJob job, const Outcome& problem);
  [[nodiscard]] int conclude(bool allFound);

  const BatchOptions& options_;
  const std::string subject_;
  BatchReport report_;
  std::unique_ptr<SigningRun> run_;
  std::size_t found_ = 0;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_BATCH_H_
