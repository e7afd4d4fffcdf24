#include "tools/commands/stamping.h"

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "base/errors.h"
#include "tools/commands/trust_files.h"
#include "tools/files/dercodec.h"
#include "tools/files/describe.h"
#include "tools/files/signaturefile.h"
#include "tools/files/timestamp.h"
#include "tools/files/timestamp_check.h"
#include "tools/files/timestamp_query.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/http.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

constexpr unsigned kMaxTimeout = 3600;
constexpr unsigned kMaxRetries = 20;

std::string urlProblem(const std::string& text) {
  return isHttpUrl(text) ? "" : helpText("write http://HOST/PATH or https://HOST/PATH"_m);
}

// pause: false when an interruption has ended it.
bool pause(std::chrono::milliseconds time) {
  constexpr std::chrono::milliseconds kSlice(100);
  for (; time.count() > 0 && Interruption::signal() == 0; time -= kSlice) std::this_thread::sleep_for(kSlice);
  return Interruption::signal() == 0;
}

HttpAnswer askPatiently(const HttpQuestion& question, unsigned retries) {
  constexpr std::chrono::seconds kLongestPause(60);
  std::chrono::seconds wait(1);
  for (;; --retries, wait = std::min(wait * 2, kLongestPause)) {
    HttpAnswer answer = ask(question);
    if (answer.result != HttpAnswer::Result::kNoAnswer || retries == 0 || !pause(wait)) return answer;
  }
}

}  // namespace

Option addStampOptions(const Command& command, StampOptions& options) {
  const Option url = command.add("--tsa", options.url, "address of the time-stamping authority (RFC 3161)"_m);
  url.valueName("URL").check(urlProblem);
  command.add("--tsa-ca", options.authorities, "file or directory with certificates of authorities to trust"_m);
  command.add("--tls-ca", options.tlsAuthorities, "the same for https; default: those of the system"_m).needs(url);
  command.add("--timeout", options.timeout, "seconds to wait for an answer; default: 30"_m)
      .check(numberBetween(1, kMaxTimeout))
      .needs(url);
  command.add("--retries", options.retries, "further tries when no answer comes; default: 3"_m)
      .check(numberBetween(0, kMaxRetries))
      .needs(url);
  return url;
}

std::vector<std::string> argumentsOf(const StampOptions& options) {
  std::vector<std::string> arguments = {"--tsa=" + options.url, "--timeout=" + std::to_string(options.timeout),
                                        "--retries=" + std::to_string(options.retries)};
  if (!options.authorities.empty()) arguments.push_back("--tsa-ca=" + options.authorities);
  if (!options.tlsAuthorities.empty()) arguments.push_back("--tls-ca=" + options.tlsAuthorities);
  return arguments;
}

bool Stamper::prepare() {
  return readAuthorities(options_.authorities, authorities_) &&
         readAuthorities(options_.tlsAuthorities, tlsAuthorities_);
}

// open: the signed data of a file to which a token can be added. What cannot be encoded again as it stands there would
// lose more than the place for the token.
Outcome Stamper::open(const std::string& signature, CryptoFile& file) const {
  file = parseCryptoFile(signature);
  if (!file.pkcs7 || sk_PKCS7_SIGNER_INFO_num(signersOf(file.pkcs7.get())) <= 0) {
    return {kNotPkcs7, tr("not a PKCS#7 signature"_m)};
  }
  const PKCS7_SIGNER_INFO* signer = onlySigner(file.pkcs7.get());
  if (signer == nullptr) return {kNotPkcs7, tr("it has more than one signer"_m)};
  if (withDer(signature, toDer<i2d_PKCS7>(file.pkcs7.get())) != signature) {
    return {kNotPkcs7, tr("it cannot be written back as it is: not one signature in DER, PEM or Base64"_m)};
  }
  if (Outcome problem = proofProblem(signer); problem.code != kSuccess) return problem;
  if (takesToken(file.pkcs7.get())) return {};
  return {kNotPkcs7, tr("its time stamps stand side by side, or are too many"_m)};
}

// proofProblem: why the time stamps of a signature prove nothing; code 0 when they are valid, or there are none.
Outcome Stamper::proofProblem(const PKCS7_SIGNER_INFO* signer) const {
  Json report;
  const Finding finding = checkTimeStamps({signer, authorities_}, report).finding;
  return finding.verdict == Verdict::kValid ? Outcome{} : Outcome{kTokenInvalid, finding.reason};
}

Outcome Stamper::stamp(std::string& signature) const {
  CryptoFile file;
  if (Outcome problem = open(signature, file); problem.code != kSuccess) return problem;
  const std::string query = makeQuery(valueToStamp(file.pkcs7.get()), Nonce::kRandom);
  X509_STORE* tlsTrust = tlsAuthorities_.isEmpty() ? nullptr : tlsAuthorities_.store();
  const HttpAnswer answer = askPatiently(
      {options_.url, query, "application/timestamp-query", "application/timestamp-reply", options_.timeout, tlsTrust},
      options_.retries);
  const auto noStamp = [this](int code, const std::string& why) {
    return Outcome{code, tr("no time stamp from {0}: {1}"_m, {fromTerminal(options_.url), why})};
  };
  if (answer.result != HttpAnswer::Result::kReceived) return noStamp(kAuthorityUnreachable, answer.reason);
  const Reply reply = readReply(query, answer.body, authorities_);
  return reply.problem.empty() ? add(signature, file.pkcs7.get(), reply.token) : noStamp(kTokenInvalid, reply.problem);
}

Outcome Stamper::queryFor(const std::string& signature, std::string& query) const {
  CryptoFile file;
  Outcome problem = open(signature, file);
  if (problem.code == kSuccess) query = makeQuery(valueToStamp(file.pkcs7.get()), Nonce::kNone);
  return problem;
}

Outcome Stamper::addReply(std::string& signature, const std::string& reply) const {
  CryptoFile file;
  if (Outcome problem = open(signature, file); problem.code != kSuccess) return problem;
  const std::string query = makeQuery(valueToStamp(file.pkcs7.get()), Nonce::kNone);
  const Reply answer = readReply(query, reply, authorities_);
  return answer.problem.empty() ? add(signature, file.pkcs7.get(), answer.token)
                                : Outcome{kTokenInvalid, answer.problem};
}

// add: the changed signature is read again as anybody reads it, and all its time stamps are checked.
Outcome Stamper::add(std::string& signature, PKCS7* signedData, const std::string& token) const {
  if (!addToken(signedData, token)) return outcomeOf(kOutOfMemory);
  std::string changed = withDer(signature, toDer<i2d_PKCS7>(signedData));
  const CryptoFile file = parseCryptoFile(changed);
  const PKCS7_SIGNER_INFO* signer = file.pkcs7 ? onlySigner(file.pkcs7.get()) : nullptr;
  if (signer == nullptr) return {kNotPkcs7, tr("not a PKCS#7 signature"_m)};
  Outcome problem = proofProblem(signer);
  if (problem.code == kSuccess) signature = std::move(changed);
  return problem;
}

bool Stamper::isStamped(const std::string& signature, int days) const {
  const CryptoFile file = parseCryptoFile(signature);
  const PKCS7_SIGNER_INFO* signer = file.pkcs7 ? onlySigner(file.pkcs7.get()) : nullptr;
  if (signer == nullptr) return false;
  const std::vector<Pkcs7Ptr> tokens = tokensOf(signer);
  if (tokens.empty() || proofProblem(signer).code != kSuccess) return false;
  return daysUntil(X509_get0_notAfter(authorityOf(tokens.back().get()))) >= days;
}

}  // namespace zepasign::tools
