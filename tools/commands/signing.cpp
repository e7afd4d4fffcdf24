#include "tools/commands/signing.h"

#include "api/ZEPASignDLL.h"
#include "base/cbuffer.h"
#include "base/errors.h"
#include "tools/files/cryptofile.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

constexpr int kOutputUnwritable = 1003;

SigningSetup current;

Outcome outcomeOf(int code) { return code == kSuccess ? Outcome{} : Outcome{code, codeText(code)}; }

std::string pemOf(const std::string& base64Text) {
  constexpr std::size_t kLineLength = 64;
  std::string pem = "-----BEGIN PKCS7-----\n";
  for (std::size_t at = 0; at < base64Text.size(); at += kLineLength) {
    pem.append(base64Text, at, kLineLength).append("\n");
  }
  return pem + "-----END PKCS7-----\n";
}

std::string inForm(const std::string& base64Text) {
  if (current.form == "der") return fromBase64(base64Text);
  return current.form == "pem" ? pemOf(base64Text) : base64Text + "\n";
}

// signContent: of the standard input, or of a text: the library takes neither as a file.
int signContent(const std::string& input) {
  std::string content;
  if (!readAll(input, content)) return kFileUnreadable;
  if (current.encoding.empty()) {
    if (content.size() > kMaxLength) return kOutOfMemory;
    return SignPkcs7Bin(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  }
  const bool endsEarly = content.find('\0') != std::string::npos;  // the rest would silently stay unsigned
  return endsEarly ? kTextConversionFailed : SignPkcs7(content.c_str(), current.encoding.c_str());
}

}  // namespace

Outcome initialise(const SigningSetup& setup) {
  current = setup;
  const bool ready = ZEPASignInitial(setup.propertyFile.c_str(), setup.encedPassword.c_str());
  return ready ? Outcome{} : outcomeOf(GetErrorCode());
}

Outcome sign(const SigningJob& job) {
  const bool isRegular = job.input != "-" && current.encoding.empty();
  const int code = isRegular ? SignPkcs7File(job.input.c_str()) : signContent(job.input);
  if (code != kSuccess) return outcomeOf(code);
  return outcomeOf(writeFile(job.output, inForm(GetSignedPkcs7())) ? kSuccess : kOutputUnwritable);
}

}  // namespace zepasign::tools
