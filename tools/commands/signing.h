// Signing files through the library's exported functions, and time-stamping signatures: the setup of a run, one file,
// and many files by one or more processes. The library is one signer per process, so parallel signing needs several
// processes.
#ifndef ZEPASIGN_TOOLS_COMMANDS_SIGNING_H_
#define ZEPASIGN_TOOLS_COMMANDS_SIGNING_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/commands/outcome.h"
#include "tools/commands/stamping.h"
#include "tools/files/signaturefile.h"

namespace zepasign::tools {

// SigningSetup: what all jobs of a run have in common. `encoding` is empty or what Big5 texts are converted to before
// they are signed; `encedPassword` goes to ZEPASignInitial. With a stamper, each signature gets a time stamp before it
// is written; without the time stamp there is no signature.
struct SigningSetup {
  // A run keeps a copy of the setup.
  std::string propertyFile;
  std::string encedPassword;
  std::string encoding;
  SignatureForm form = SignatureForm::kBase64;
  std::shared_ptr<const Stamper> stamper = {};
};

// SigningJob: a file and the place of its signature; "-" stands for the standard streams. `entry` is its number in the
// list that names it, 0 without a list; `number` counts the jobs of a run in their order.
struct SigningJob {
  std::string input;
  std::string output;
  std::size_t entry = 0;
  std::size_t number = 0;
};

// Done: receives the outcome of each job. It is called by one thread at a time, in any order of the jobs.
using Done = std::function<void(const SigningJob& job, const Outcome& outcome)>;

// SigningRun: signs the jobs that it is given. The library is initialised at the first one. Thread rule: `submit` and
// `finish` are called by the thread that made the run. A local run gives the outcome of a job inside `submit`; a run
// with workers gives it in a thread of its own, before `finish` returns.
class SigningRun {
 public:
  SigningRun() = default;
  // ~SigningRun: waits for the jobs that were submitted, like `finish`.
  virtual ~SigningRun() = default;
  SigningRun(const SigningRun&) = delete;
  SigningRun& operator=(const SigningRun&) = delete;

  // submit: false when the library does not initialise; the job is then lost. May wait while other jobs are signed. A
  // file that cannot be signed is no failure of `submit`: its outcome goes to Done.
  [[nodiscard]] virtual bool submit(const SigningJob& job) = 0;
  // finish: waits for all jobs. Returns the outcome of the initialisation. REQUIRES: no call of submit afterwards. An
  // initialisation that failed gives the library's error code; a run without jobs gives 0.
  [[nodiscard]] virtual Outcome finish() = 0;
};

// makeLocalRun: signs in this process, each job inside `submit`. Only one such run per process.
[[nodiscard]] std::unique_ptr<SigningRun> makeLocalRun(const SigningSetup& setup, const Done& done);

// FileAction: does what a job asks for.
using FileAction = std::function<Outcome(const SigningJob& job)>;
// makeFileRun: in this process without the library, each job inside `submit`.
[[nodiscard]] std::unique_ptr<SigningRun> makeFileRun(const FileAction& action, const Done& done);

// WorkerPlan: how worker processes are called. A worker is this program as everybody can call it, with a list of names
// that ends with zero bytes on its standard input: a pair for each job if `isPairs`, else its input alone. Before the
// list goes `firstLine`, unless it is empty; it may be a secret.
struct WorkerPlan {
  std::vector<std::string> arguments;
  std::string firstLine = {};
  bool isPairs = false;
};

// makeWorkerRun: by `processes` worker processes, each fed by a thread of its own, without "-" in the jobs. A worker
// that dies costs the jobs that it had, at most kJobsPerWorker, whose outcome names it; another one takes its place.
inline constexpr std::size_t kJobsPerWorker = 2;
[[nodiscard]] std::unique_ptr<SigningRun> makeWorkerRun(const WorkerPlan& plan, std::size_t processes,
                                                        const Done& done);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_SIGNING_H_
