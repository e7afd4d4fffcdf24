#include "tools/commands/signing.h"

#include <utility>

#include "api/ZEPASignDLL.h"
#include "base/cbuffer.h"
#include "base/errors.h"
#include "tools/files/source.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

class LocalRun final : public SigningRun {
 public:
  LocalRun(SigningSetup setup, Done done) : setup_(std::move(setup)), done_(std::move(done)) {}

  bool submit(const SigningJob& job) override {
    if (!isInitialised_) initialise();
    if (initialised_.code != kSuccess) return false;
    done_(job, sign(job));
    return true;
  }
  Outcome finish() override { return initialised_; }

 private:
  void initialise() {
    isInitialised_ = true;
    const bool ready = ZEPASignInitial(setup_.propertyFile.c_str(), setup_.encedPassword.c_str());
    initialised_ = ready ? Outcome{} : outcomeOf(GetErrorCode());
  }

  Outcome sign(const SigningJob& job) const {
    const bool isFile = job.input != "-" && setup_.encoding.empty();
    const int code = isFile ? SignPkcs7File(job.input.c_str()) : signContent(job.input);
    if (code != kSuccess) return outcomeOf(code);
    std::string signature = encodeSignature(GetSignedPkcs7(), setup_.form);
    Outcome stamped = setup_.stamper ? setup_.stamper->stamp(signature) : Outcome{};
    if (stamped.code != kSuccess) return stamped;
    return outcomeOf(writeFile(job.output, signature) ? kSuccess : kOutputUnwritable);
  }

  // signContent: of the standard input, or of a text: the library takes neither as a file.
  int signContent(const std::string& input) const {
    std::string content;
    Source source(input);
    if (!source.readRest(content, kMaxLength)) return source.isGood() ? kOutOfMemory : kFileUnreadable;
    if (setup_.encoding.empty()) {
      return SignPkcs7Bin(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
    }
    const bool endsEarly = content.find('\0') != std::string::npos;  // the rest would silently stay unsigned
    return endsEarly ? kTextConversionFailed : SignPkcs7(content.c_str(), setup_.encoding.c_str());
  }

  const SigningSetup setup_;
  const Done done_;
  bool isInitialised_ = false;
  Outcome initialised_;
};

class FileRun final : public SigningRun {
 public:
  FileRun(FileAction action, Done done) : action_(std::move(action)), done_(std::move(done)) {}

  bool submit(const SigningJob& job) override { return done_(job, action_(job)), true; }
  Outcome finish() override { return {}; }

 private:
  const FileAction action_;
  const Done done_;
};

}  // namespace

Outcome outcomeOf(int code) { return code == kSuccess ? Outcome{} : Outcome{code, codeText(code)}; }

std::unique_ptr<SigningRun> makeLocalRun(const SigningSetup& setup, const Done& done) {
  return std::make_unique<LocalRun>(setup, done);
}

std::unique_ptr<SigningRun> makeFileRun(const FileAction& action, const Done& done) {
  return std::make_unique<FileRun>(action, done);
}

}  // namespace zepasign::tools
