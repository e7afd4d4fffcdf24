// zepasign sign: one file or millions.
#include <memory>

#include "base/cleanse.h"
#include "base/platform.h"
#include "tools/commands/batch.h"
#include "tools/commands/command_line.h"
#include "tools/commands/password.h"
#include "tools/commands/sign_guard.h"
#include "tools/commands/stamping.h"
#include "tools/files/signaturefile.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct SignOptions : BatchOptions {
  CommonOptions common;
  StampOptions stamp;
  std::string encoding;
  bool der = false;
  bool pem = false;
};

// createDirectories: with those above it.
// NOLINTNEXTLINE(misc-no-recursion): as deep as the path
bool createDirectories(const std::string& directory) {
  if (directory.empty() || isDirectory(directory)) return true;
  const std::string name = fileNameOf(directory);
  if (name.empty()) return createDirectories(directory.substr(0, directory.size() - 1));  // a separator at the end
  return createDirectories(directory.substr(0, directory.size() - name.size())) &&
         platform::createDirectory(directory.c_str());
}

// workerPlan: what a worker process is to do.
WorkerPlan workerPlan(const SigningSetup& setup, const StampOptions& stamp) {
  WorkerPlan plan{{"sign", "--config=" + setup.propertyFile, "--files-from=-", "--pairs", "--json-lines"},
                  setup.encedPassword,
                  true};
  if (!setup.encedPassword.empty()) plan.arguments.emplace_back("--enced-file=-");
  if (!setup.encoding.empty()) plan.arguments.push_back("--text=" + setup.encoding);
  if (setup.form == SignatureForm::kDer) plan.arguments.emplace_back("--der");
  if (setup.form == SignatureForm::kPem) plan.arguments.emplace_back("--pem");
  if (!setup.stamper) return plan;
  for (std::string& argument : argumentsOf(stamp)) plan.arguments.push_back(std::move(argument));
  return plan;
}

class SignBatch final : public Batch {
 public:
  SignBatch(const SignOptions& options, const PropertyText& properties)
      : Batch(options,
              {"signed", "{0} signed, {1} skipped, {2} failed"_m, "interrupted: {0} signed, {1} skipped, {2} failed"_m},
              options.common.propertyFile),
        options_(options),
        properties_(properties),
        guard_(options, properties, options.common.propertyFile, options.common.encedFile),
        setup_{options.common.propertyFile, {}, options.encoding, options.form} {}

 private:
  std::string mistake() const override {
    if (options_.files.empty() == options_.filesFrom.empty()) return tr("name files, or a list with --files-from"_m);
    if (options_.pairs && options_.filesFrom.empty()) return tr("--pairs needs --files-from"_m);
    if (options_.stamp.url.empty() && !options_.stamp.authorities.empty()) {
      return tr("{0} can only be used with {1}"_m, {"--tsa-ca", "--tsa"});
    }
    const bool isOne = options_.isPlanned() && options_.files.size() == 1;
    return options_.output.empty() || isOne ? "" : tr("-o takes one file; --out-dir takes many"_m);
  }

  int prepare() override {
    if (!options_.stamp.url.empty()) {
      auto stamper = std::make_shared<Stamper>(options_.stamp);
      if (!stamper->prepare()) return kFailed;
      setup_.stamper = std::move(stamper);
    }
    return obtainEnced(options_.common, properties_, setup_.encedPassword) ? kOk : kNotInitialised;
  }

  std::unique_ptr<SigningRun> makeRun(const Done& done) override {
    return processes() > 1 ? makeWorkerRun(workerPlan(setup_, options_.stamp), processes(), done)
                           : makeLocalRun(setup_, done);
  }

  std::string refusal(const SigningJob& job) override { return guard_.refusal(job); }

  // isDone: whether the signature is there, complete, no older than the file, and stamped if it shall be.
  bool isDone(const SigningJob& job) override {
    const FileStatus output = statusOf(job.output);
    if (!output.isRegular() || statusOf(job.input).modified > output.modified) return false;
    if (!isSignatureFile(job.output, options_.form)) return false;
    std::string signature;
    return !setup_.stamper || (readAll(job.output, signature) && setup_.stamper->isStamped(signature, 0));
  }

  // makeRoom: below --out-dir; the directory of the last signature is known to be there.
  bool makeRoom(const SigningJob& job) override {
    if (options_.outputDirectory.empty()) return true;
    std::string directory = job.output.substr(0, job.output.size() - fileNameOf(job.output).size());
    if (directory == lastDirectory_) return true;
    lastDirectory_ = std::move(directory);
    return createDirectories(lastDirectory_);
  }

  const SignOptions& options_;
  const PropertyText& properties_;
  OutputGuard guard_;
  SigningSetup setup_;
  std::string lastDirectory_;
};

int runSign(SignOptions& options) {
  options.json = options.common.json;
  options.form = options.der ? SignatureForm::kDer : options.pem ? SignatureForm::kPem : SignatureForm::kBase64;
  std::string bytes;
  static_cast<void>(readRegularFile(options.common.propertyFile, bytes));  // the library will say what is wrong with it
  const CleanseOnExit wipe(bytes);
  const PropertyText properties(bytes);
  return SignBatch(options, properties).run();
}

// addInputs: returns --pairs.
Option addInputs(const Command& command, SignOptions& options) {
  command.add(helpText("FILE"_m), options.files, "files to sign; - is the standard input"_m);
  command.add("--files-from", options.filesFrom,
              "list of files to sign, ended by line ends or zero bytes; - is the standard input"_m);
  const Option pairs =
      command.add("--pairs", options.pairs, "in the list, each file is followed by its signature's file"_m);
  command.add("--recursive", options.recursive, "sign the files in directories"_m);
  command.add("--text", options.encoding, "sign as text: Big5, converted to this encoding first"_m)
      .valueName("BIG5|UTF-16LE")
      .check(oneOf({"BIG5", "UTF-16LE"}));
  return pairs;
}

void addOutputs(const Command& command, SignOptions& options, const Option& pairs) {
  const Option output = command.add("-o,--output", options.output, "the signature's file; - is the standard output"_m);
  const Option directory = command.add("--out-dir", options.outputDirectory, "directory for the signatures"_m);
  directory.excludes(output);
  pairs.excludes(output).excludes(directory);
  const Option der = command.add("--der", options.der, "write DER instead of Base64 text"_m);
  command.add("--pem", options.pem, "write PEM instead of Base64 text"_m).excludes(der);
}

}  // namespace

void addSign(CommandLine& line) {
  const auto options = std::make_shared<SignOptions>();
  const Command command = line.add("sign", "sign files"_m, [options] { return runSign(*options); });
  const Option json = addCommon(command, options->common);
  const Option pairs = addInputs(command, *options);
  addOutputs(command, *options, pairs);
  addBatchOptions(command, *options, json, "make only missing, older or damaged signatures"_m);
  addStampOptions(command, options->stamp);
  command.addExamples(
      {{"one file; the signature is written beside it"_m, "zepasign sign -c app.properties contract.pdf"},
       {"a directory, with two processes"_m, "zepasign sign -c app.properties --jobs 2 --recursive documents"},
       {"files from find"_m, "find . -name '*.pdf' -print0 | zepasign sign -c app.properties --files-from -"},
       {"with a time stamp"_m,
        "zepasign sign -c app.properties --tsa http://tsa.example --tsa-ca tsa.pem contract.pdf"},
       {"in a pipe"_m, "cat contract.pdf | zepasign sign -c app.properties --der - > contract.p7s"}});
}

}  // namespace zepasign::tools
