// The processes of one run. The parent feeds each worker over its standard input and reads its answers, one thread per
// worker; every text ends with a zero byte, which no file name holds:
//
//   parent -> worker   property file, password, encoding, form      then per job: input, output
//   worker -> parent   code, meaning                                then per job: code, meaning
#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

#include "base/errors.h"
#include "tools/commands/command_line.h"
#include "tools/commands/signing.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

constexpr const char* kWorkerCommand = "sign-worker";

void writeText(std::FILE* stream, const std::string& text) { std::fwrite(text.c_str(), 1, text.size() + 1, stream); }

bool readText(std::FILE* stream, std::string& text) {
  text.clear();
  for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) {
    if (c == '\0') return true;
    text += static_cast<char>(c);
  }
  return false;
}

// Worker: one process; an answer that does not come is an outcome, too.
class Worker final {
 public:
  explicit Worker(const SigningSetup& setup) : process_({kWorkerCommand}) {
    started_ = process_.input() != nullptr && process_.output() != nullptr;
    initialised_ = ask({setup.propertyFile, setup.encedPassword, setup.encoding, setup.form});
  }

  [[nodiscard]] const Outcome& initialised() const { return initialised_; }
  [[nodiscard]] bool isAlive() const { return started_; }
  [[nodiscard]] Outcome sign(const SigningJob& job) { return ask({job.input, job.output}); }

 private:
  Outcome ask(std::initializer_list<std::string> texts) {
    std::string code;
    Outcome outcome;
    if (started_) {
      for (const std::string& text : texts) writeText(process_.input(), text);
      std::fflush(process_.input());
      started_ = readText(process_.output(), code) && readText(process_.output(), outcome.meaning);
    }
    if (!started_) return {kGeneralError, tr("the worker process ended unexpectedly"_m)};
    outcome.code = std::stoi(code);
    return outcome;
  }

  ChildProcess process_;
  bool started_ = false;
  Outcome initialised_;
};

// Run: what the threads share.
class Run final {
 public:
  Run(const SigningSetup& setup, const std::vector<SigningJob>& jobs, const Done& done)
      : setup_(setup), jobs_(jobs), done_(done) {}

  // work: one thread's share. A worker that dies costs its job and is replaced.
  void work() {
    std::unique_ptr<Worker> worker;
    for (std::size_t index = 0; take(index);) {
      if (!worker || !worker->isAlive()) worker = std::make_unique<Worker>(setup_);
      if (worker->initialised().code != kSuccess) return fail(worker->initialised());
      finish(index, worker->sign(jobs_[index]));
    }
  }

  [[nodiscard]] const Outcome& failure() const { return failure_; }

 private:
  bool take(std::size_t& index) {
    const std::lock_guard lock(mutex_);
    index = next_;
    return failure_.code == kSuccess && next_++ < jobs_.size();
  }
  void finish(std::size_t index, const Outcome& outcome) {
    const std::lock_guard lock(mutex_);
    done_(index, outcome);
  }
  void fail(const Outcome& outcome) {
    const std::lock_guard lock(mutex_);
    failure_ = outcome;
  }

  const SigningSetup& setup_;
  const std::vector<SigningJob>& jobs_;
  const Done& done_;
  std::mutex mutex_;
  std::size_t next_ = 0;
  Outcome failure_;
};

Outcome signAllHere(const SigningSetup& setup, const std::vector<SigningJob>& jobs, const Done& done) {
  if (jobs.empty()) return {};
  Outcome initialised = initialise(setup);
  if (initialised.code != kSuccess) return initialised;
  for (std::size_t i = 0; i < jobs.size(); ++i) done(i, sign(jobs[i]));
  return {};
}

void answer(const Outcome& outcome) { printBytes(std::to_string(outcome.code) + '\0' + outcome.meaning + '\0'); }

int runWorker() {
  SigningSetup setup;
  SigningJob job;
  for (std::string* each : {&setup.propertyFile, &setup.encedPassword, &setup.encoding, &setup.form}) {
    if (!readText(stdin, *each)) return kUsage;
  }
  answer(initialise(setup));
  flushOutput();
  while (readText(stdin, job.input) && readText(stdin, job.output)) {
    answer(sign(job));
    flushOutput();
  }
  return kOk;
}

}  // namespace

Outcome signAll(const SigningSetup& setup, const std::vector<SigningJob>& jobs, std::size_t processes,
                const Done& done) {
  processes = std::min(processes, jobs.size());
  // Only this process has the user's standard streams.
  const bool usesStreams = std::any_of(jobs.begin(), jobs.end(),
                                       [](const SigningJob& job) { return job.input == "-" || job.output == "-"; });
  if (processes <= 1 || usesStreams) return signAllHere(setup, jobs, done);
  Run run(setup, jobs, done);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < processes; ++i) threads.emplace_back([&run] { run.work(); });
  for (std::thread& thread : threads) thread.join();
  return run.failure();
}

void addWorker(CommandLine& line) { line.add(kWorkerCommand, "worker processes"_m, runWorker)->group(""); }

}  // namespace zepasign::tools
