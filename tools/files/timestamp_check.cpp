// The tokens are judged from the last to the first. Each one shows at what time the one before it existed, so that time
// is the one at which the certificate of the one before must have been valid:
//
//   time of the check -> last token's certificate    time in the last token -> certificate of the one before    ...
#include "tools/files/timestamp_check.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/files/describe.h"
#include "tools/files/timestamp.h"
#include "tools/files/timestamp_query.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

std::optional<std::time_t> timeIn(PKCS7* token) {
  const TstInfoPtr info(PKCS7_to_TS_TST_INFO(token));
  return info ? timeOf(TS_TST_INFO_get_time(info.get())) : std::nullopt;
}

// isWithinValidity: whether the time in a token is one at which its authority's certificate was valid.
bool isWithinValidity(PKCS7* token) {
  const X509* authority = authorityOf(token);
  std::time_t time = timeIn(token).value_or(0);
  return X509_cmp_time(X509_get0_notBefore(authority), &time) < 0 &&
         X509_cmp_time(X509_get0_notAfter(authority), &time) > 0;
}

// checkToken: one token over `value`, whose certificate must be valid at `time`.
Finding checkToken(PKCS7* token, std::string_view value, const TimeStampQuestion& question,
                   std::optional<std::time_t> time, Json& report) {
  if (const std::string problem = tokenProblem(token, value, question.authorities); !problem.empty()) {
    return {Verdict::kChanged, problem};
  }
  if (!isWithinValidity(token)) {
    return {Verdict::kExpired, tr("the authority's certificate was not valid at the time in the time stamp"_m)};
  }
  const ChainQuestion::Purpose purpose = ChainQuestion::Purpose::kTimeStamping;
  const std::optional<std::time_t> madeAt = timeIn(token);
  if (time) time = std::max(*time, madeAt.value_or(*time));
  Finding finding =
      checkChain({authorityOf(token), certificatesOf(token), question.authorities, time, purpose, madeAt}, report);
  if (!finding.reason.empty()) finding.reason = tr("the authority's certificate: {0}"_m, {finding.reason});
  return finding;
}

}  // namespace

TimeProof checkTimeStamps(const TimeStampQuestion& question, Json& report) {
  TimeProof proof;
  std::optional<std::time_t> time = question.time;
  Json list = Json::array();
  const std::vector<Pkcs7Ptr> tokens = tokensOf(question.signer);
  for (std::size_t i = tokens.size(); i-- > 0;) {
    PKCS7* token = tokens[i].get();
    const PKCS7_SIGNER_INFO* covered = i == 0 ? question.signer : onlySigner(tokens[i - 1].get());
    Json entry = describeToken(token);
    keepWorse(proof.finding, checkToken(token, signatureValueOf(covered), question, time, entry));
    time = timeIn(token);
    proof.authority = entry["authority"].is_string() ? entry["authority"].get<std::string>() : "";
    list.insert(list.begin(), std::move(entry));
  }
  if (hasUnreadableToken(question.signer)) {
    keepWorse(proof.finding, {Verdict::kChanged, tr("the time stamp was changed, or is none"_m)});
  }
  if (tokens.empty()) return proof;
  report["timeStamps"] = std::move(list);
  const bool isProven = proof.finding.verdict == Verdict::kValid && !question.authorities.isEmpty();
  if (isProven) proof.time = time;
  return proof;
}

}  // namespace zepasign::tools
