// The worker processes of "--jobs". A worker is the same program with public options only. Its standard input is a list
// of names, each followed by a zero byte; before the list of "sign", the first line holds the encrypted password if
// there is one. For each job it answers with a line of JSON, and with the summary at the end:
//
//   to the worker     [encrypted password "\n"]   input "\0" [output "\0"]   input "\0" [output "\0"] ...
//   from the worker   {"file": ..., "output": ..., "code": 0}   ...   {"signed": 2, "skipped": 0, "failed": 0, ...}
//
// One thread per worker writes and reads. It keeps kJobsPerWorker jobs on their way, so that a worker finds the next
// one in its input when it has finished one. A queue of bounded length stands before the threads. The main thread
// passes an interruption on to the workers, which would otherwise finish what they have: a time-stamping authority may
// be silent for minutes.
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>
#include <vector>

#include "base/errors.h"
#include "tools/commands/signing.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

// Worker: one process and the jobs that it has not answered yet.
class Worker final {
 public:
  explicit Worker(const WorkerPlan& plan) : process_(plan.arguments), isPairs_(plan.isPairs) {
    if (process_.input() != nullptr && !plan.firstLine.empty()) write(plan.firstLine + "\n");
  }

  void send(const SigningJob& job) {
    jobs_.push_back(job);
    if (process_.input() == nullptr) return;
    write(job.input + '\0' + (isPairs_ ? job.output + '\0' : ""));
    std::fflush(process_.input());
  }

  // receive: the next answer; null when the process has ended or gave something else.
  [[nodiscard]] Json receive() {
    std::string line;
    int c = EOF;
    if (process_.output() != nullptr) {
      while ((c = std::getc(process_.output())) != EOF && c != '\n') line += static_cast<char>(c);
    }
    return c == EOF ? Json() : Json::parse(line, nullptr, false);
  }

  void interrupt() const noexcept { process_.interrupt(); }

  [[nodiscard]] std::deque<SigningJob>& jobs() noexcept { return jobs_; }
  [[nodiscard]] Outcome death() const {
    return {kGeneralError, tr("worker process {0} ended unexpectedly"_m, {std::to_string(process_.id())})};
  }

 private:
  void write(const std::string& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), process_.input()); }

  ChildProcess process_;
  const bool isPairs_;
  std::deque<SigningJob> jobs_;
};

Outcome outcomeIn(const Json& answer) {
  return {answer.value("code", static_cast<int>(kGeneralError)), answer.value("message", "")};
}

class WorkerRun final : public SigningRun {
 public:
  WorkerRun(WorkerPlan plan, std::size_t processes, Done done)
      : plan_(std::move(plan)), done_(std::move(done)), workers_(processes) {
    const SignalsBlocked forThreads;  // a signal ends the waiting of the main thread, not that of another one
    for (auto& worker : workers_) threads_.emplace_back([this, &worker] { work(worker); });
  }
  ~WorkerRun() override { join(); }

  bool submit(const SigningJob& job) override {
    std::unique_lock lock(mutex_);
    waitWatchfully(lock, [this] { return queue_.size() < workers_.size() || failure_.code != kSuccess; });
    if (failure_.code != kSuccess || Interruption::signal() != 0) return false;
    queue_.push_back(job);
    changed_.notify_all();
    return true;
  }

  Outcome finish() override {
    join();
    return failure_;
  }

 private:
  void join() {
    {
      std::unique_lock lock(mutex_);
      isComplete_ = true;
      changed_.notify_all();
      waitWatchfully(lock, [this] { return ended_ == workers_.size(); });
    }
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
  }

  // waitWatchfully: of the main thread. An interruption ends it, after the workers have been told.
  template <class Condition>
  void waitWatchfully(std::unique_lock<std::mutex>& lock, const Condition& isMet) {
    constexpr std::chrono::milliseconds kGlance(100);
    while (Interruption::signal() == 0 && !changed_.wait_for(lock, kGlance, isMet)) {
    }
    if (Interruption::signal() == 0 || std::exchange(isTold_, true)) return;
    for (const auto& worker : workers_) {
      if (worker) worker->interrupt();
    }
  }

  // work: of one thread, which alone changes its place among the workers.
  void work(std::unique_ptr<Worker>& worker) {
    SigningJob job;
    while (true) {
      const std::size_t waiting = worker ? worker->jobs().size() : 0;
      if (waiting < kJobsPerWorker && take(job, waiting == 0)) {
        if (!worker) replace(worker, std::make_unique<Worker>(plan_));
        worker->send(job);
      } else if (waiting == 0) {
        break;
      } else if (!settle(*worker)) {
        replace(worker, nullptr);
      }
    }
    replace(worker, nullptr);
    const std::lock_guard lock(mutex_);
    ++ended_;
    changed_.notify_all();
  }

  // replace: the old process is waited for without the lock; a new one may come too late to be told with the others.
  void replace(std::unique_ptr<Worker>& worker, std::unique_ptr<Worker> next) {
    const std::lock_guard lock(mutex_);
    worker.swap(next);
    if (isTold_ && worker) worker->interrupt();
  }

  // take: false when there is nothing to do, for now or, if it may wait, at all.
  bool take(SigningJob& job, bool mayWait) {
    std::unique_lock lock(mutex_);
    if (mayWait) {
      changed_.wait(lock, [this] { return !queue_.empty() || isComplete_ || failure_.code != kSuccess; });
    }
    if (queue_.empty() || failure_.code != kSuccess || Interruption::signal() != 0) return false;
    job = std::move(queue_.front());
    queue_.pop_front();
    changed_.notify_all();
    return true;
  }

  // settle: hands on the outcome of the oldest job; false when the worker is of no more use.
  bool settle(Worker& worker) {
    const Json answer = worker.receive();
    const std::lock_guard lock(mutex_);
    if (answer.is_object() && answer.contains("code")) {
      done_(worker.jobs().front(), outcomeIn(answer));
      worker.jobs().pop_front();
      return true;
    }
    end(worker, answer);
    return false;
  }

  // end: the jobs of a worker that answers no more: the library does not initialise, the user has interrupted the run,
  // which the worker noticed as well, or the worker died.
  void end(Worker& worker, const Json& summary) {
    const bool isSummary = summary.is_object() && summary.contains("failures");
    if (isSummary && !summary["failures"].empty()) {
      failure_ = outcomeIn(summary["failures"][0]);
      changed_.notify_all();
    } else if (Interruption::signal() == 0) {
      for (const SigningJob& job : worker.jobs()) done_(job, worker.death());
    }
  }

  const WorkerPlan plan_;
  const Done done_;
  std::vector<std::thread> threads_;
  std::mutex mutex_;                              // for all below, and the calls of done_
  std::vector<std::unique_ptr<Worker>> workers_;  // one place for each thread
  std::size_t ended_ = 0;                         // threads
  std::condition_variable changed_;
  std::deque<SigningJob> queue_;
  bool isComplete_ = false;
  bool isTold_ = false;  // the workers, of an interruption
  Outcome failure_;
};

}  // namespace

std::unique_ptr<SigningRun> makeWorkerRun(const WorkerPlan& plan, std::size_t processes, const Done& done) {
  return std::make_unique<WorkerRun>(plan, processes, done);
}

}  // namespace zepasign::tools
