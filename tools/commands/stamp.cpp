// zepasign stamp: adds time stamps to signatures that are there, through the network or, for machines without, in two
// halves.
#include <cstdio>
#include <memory>

#include "base/errors.h"
#include "base/platform.h"
#include "tools/commands/batch.h"
#include "tools/commands/command_line.h"
#include "tools/commands/stamping.h"
#include "tools/files/source.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct StampCommandOptions : BatchOptions {
  StampOptions stamp;
  std::string query;
  std::string reply;
  unsigned warnDays = 0;

  [[nodiscard]] bool isByHand() const { return !query.empty() || !reply.empty(); }
};

// readInput: a signature or a reply. False for what does not begin like one, such as a device that never ends.
bool readInput(const std::string& path, std::string& bytes) {
  Source source(path);
  return mayBeKnown(source.head()) && source.readRest(bytes, kMaxFileLength);
}

// isWritable: also of what is no regular file, which is written into as far as it goes. What may not be written is not
// replaced; it is better to know that before a time stamp is paid for.
bool isWritable(const std::string& path) {
  return !statusOf(path).isRegular() || platform::FilePtr(std::fopen(path.c_str(), "r+b")) != nullptr;
}

class StampBatch final : public Batch {
 public:
  explicit StampBatch(const StampCommandOptions& options)
      : Batch(options,
              {"stamped", "{0} stamped, {1} skipped, {2} failed"_m,
               "interrupted: {0} stamped, {1} skipped, {2} failed"_m},
              ""),
        options_(options),
        stamper_(options.stamp) {}

 private:
  std::string mistake() const override {
    if (options_.files.empty() == options_.filesFrom.empty()) return tr("name files, or a list with --files-from"_m);
    const bool isOne = options_.isPlanned() && options_.files.size() == 1;
    if (options_.isByHand() && !isOne) return tr("--query-out and --reply take one signature"_m);
    if (options_.isByHand()) return mistakeByHand();
    return options_.stamp.url.empty() ? tr("give --tsa, --query-out or --reply"_m) : "";
  }

  std::string mistakeByHand() const {
    const bool reports = options_.json || options_.jsonLines;
    const bool isMixed = reports && !options_.query.empty() && isStandardOutput(options_.query);
    return isMixed ? tr("--json and the content cannot both go to the standard output"_m) : "";
  }

  int prepare() override { return stamper_.prepare() ? kOk : kFailed; }

  std::unique_ptr<SigningRun> makeRun(const Done& done) override {
    return processes() > 1 ? makeWorkerRun(workerPlan(), processes(), done)
                           : makeFileRun([this](const SigningJob& job) { return carryOut(job); }, done);
  }

  WorkerPlan workerPlan() const {
    WorkerPlan plan{{"stamp", "--files-from=-", "--json-lines"}};
    for (std::string& argument : argumentsOf(options_.stamp)) plan.arguments.push_back(std::move(argument));
    return plan;
  }

  std::string refusal(const SigningJob& job) override {
    if (options_.query.empty() || !statusOf(job.input).isSameFile(statusOf(options_.query))) return {};
    return tr("{0} would be lost: {1}"_m, {fromTerminal(options_.query), tr("it is to be stamped"_m)});
  }

  // isDone: the standard input can be read only once, and a reader waits for the signature behind it.
  bool isDone(const SigningJob& job) override {
    std::string signature;
    return job.input != "-" && readInput(job.input, signature) &&
           stamper_.isStamped(signature, static_cast<int>(options_.warnDays));
  }

  Outcome carryOut(const SigningJob& job) const {
    std::string signature;
    if (!readInput(job.input, signature)) return outcomeOf(kFileUnreadable);
    if (!options_.query.empty()) return writeQuery(signature);
    if (!isWritable(job.output)) return outcomeOf(kOutputUnwritable);
    Outcome stamped = options_.reply.empty() ? stamper_.stamp(signature) : addReply(signature);
    if (stamped.code != kSuccess) return stamped;
    return outcomeOf(writeFile(job.output, signature) ? kSuccess : kOutputUnwritable);
  }

  Outcome writeQuery(const std::string& signature) const {
    std::string query;
    Outcome problem = stamper_.queryFor(signature, query);
    if (problem.code != kSuccess) return problem;
    return outcomeOf(writeFile(options_.query, query) ? kSuccess : kOutputUnwritable);
  }

  Outcome addReply(std::string& signature) const {
    std::string reply;
    if (readInput(options_.reply, reply)) return stamper_.addReply(signature, reply);
    return {kFileUnreadable, tr("{0}: cannot be read"_m, {fromTerminal(options_.reply)})};
  }

  const StampCommandOptions& options_;
  Stamper stamper_;
};

}  // namespace

void addStamp(CommandLine& line) {
  const auto options = std::make_shared<StampCommandOptions>();
  options->isInPlace = true;
  const Command command = line.add("stamp", "add time stamps to signatures, or renew them"_m,
                                   [options] { return StampBatch(*options).run(); });
  command.add(helpText("SIGNATURE"_m), options->files, "signatures to stamp; - is the standard input"_m);
  command.add("--files-from", options->filesFrom,
              "list of signatures, ended by line ends or zero bytes; - is the standard input"_m);
  command.add("--recursive", options->recursive, "stamp the signatures in directories"_m);
  const Option url = addStampOptions(command, options->stamp);
  const Option query = command.add("--query-out", options->query, "only write the query for the authority"_m);
  const Option reply = command.add("--reply", options->reply, "add the authority's reply to that query"_m);
  query.excludes(url).excludes(reply);
  reply.excludes(url);
  const Option json = addJson(command, options->json);
  const Option resume = addBatchOptions(command, *options, json, "skip signatures with a valid time stamp"_m);
  command.add("--warn-days", options->warnDays, "with --resume: that is valid for so many more days"_m)
      .check(numberBetween(0, kMaxDays))
      .needs(resume);
  command.addExamples(
      {{"a signature, by an authority that you trust"_m,
        "zepasign stamp --tsa http://tsa.example --tsa-ca tsa.pem contract.pdf.p7s"},
       {"an archive: signatures without a time stamp that lasts 90 more days"_m,
        "zepasign stamp --tsa http://tsa.example --tsa-ca tsa.pem --recursive --resume --warn-days 90 archive"},
       {"on a machine without network: the query for an authority"_m,
        "zepasign stamp --query-out contract.tsq contract.pdf.p7s"},
       {"and the reply, fetched on another machine"_m,
        "zepasign stamp --reply contract.tsr --tsa-ca tsa.pem contract.pdf.p7s"}});
}

}  // namespace zepasign::tools
