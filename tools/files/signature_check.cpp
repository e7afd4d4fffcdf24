// A signature is checked in two steps. PKCS7_verify decides over content and signature value alone; then the time
// stamps of each signer are checked, and its chain is built and judged by X509_verify_cert with the user's CRLs at the
// time that counts. The second step runs after a failed first one too, so that the report names the signer in any case.
#include "tools/files/signature_check.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

#include "tools/files/describe.h"
#include "tools/files/timestamp.h"
#include "tools/files/timestamp_check.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

// contentFinding: why PKCS7_verify refused, from the errors that it left. What it says of RSA and the like means no
// more to the user than that signature and content do not fit.
Finding contentFinding() {
  unsigned long error = ERR_get_error();
  while (error != 0 && ERR_GET_LIB(error) != ERR_LIB_PKCS7) error = ERR_get_error();
  switch (ERR_GET_REASON(error)) {
    case PKCS7_R_DIGEST_FAILURE:
      return {Verdict::kChanged, tr("the content is not what was signed"_m)};
    case PKCS7_R_SIGNER_CERTIFICATE_NOT_FOUND:
      return {Verdict::kIncomplete, tr("the signature does not carry the signer's certificate: give it with --ca"_m)};
    case PKCS7_R_NO_CONTENT:
      return {Verdict::kIncomplete, tr("the signature is detached: give the content with --content"_m)};
    case PKCS7_R_SIGNATURE_FAILURE:
      return {Verdict::kChanged, tr("the content or the signature was changed"_m)};
    default:
      if (error == 0) return {Verdict::kChanged, tr("the content or the signature was changed"_m)};
      return {Verdict::kIncomplete, ERR_reason_error_string(error)};
  }
}

// Moment: when the certificates of a signer are judged, nothing means now, and who says so.
struct Moment {
  TimeSource source;
  std::optional<std::time_t> time;
};

Moment momentOf(const PKCS7_SIGNER_INFO* info, const CheckTime& time, const TimeProof& proof) {
  if (!time.atSigning) return {time.time ? TimeSource::kUser : TimeSource::kNobody, time.time};
  if (proof.time) return {TimeSource::kAuthority, proof.time};
  return {TimeSource::kSigner, timeOf(signingTimeOf(info))};
}

Json secondsText(std::time_t seconds) {
  const Asn1TimePtr time(ASN1_TIME_set(nullptr, seconds));
  return timeText(time.get());
}

// checkTime: the time stamps, and what they and the user make the time of the judgement.
Finding checkTime(const PKCS7_SIGNER_INFO* info, const Question& question, Moment& moment, Json& signer) {
  const TimeProof proof = checkTimeStamps({info, question.authorities, question.time.time}, signer);
  moment = momentOf(info, question.time, proof);
  static constexpr std::array kSources = {"nobody", "user", "signer", "authority"};
  signer["timeSource"] = kSources[static_cast<std::size_t>(moment.source)];
  signer["judgedAt"] = secondsText(moment.time.value_or(std::time(nullptr)));
  if (proof.finding.verdict != Verdict::kValid) return proof.finding;
  if (!question.authorities.isEmpty() && !proof.time) {
    return {Verdict::kIncomplete, tr("the signature has no time stamp: no authority has certified its time"_m)};
  }
  if (moment.source != TimeSource::kSigner || moment.time) return {};
  return {Verdict::kIncomplete, tr("the signature does not say when it was made: give a time with --at"_m)};
}

Finding checkSigner(const PKCS7_SIGNER_INFO* info, X509* certificate, const Question& question, Json& signer) {
  Moment moment{};
  Finding worst = checkTime(info, question, moment, signer);
  if (moment.source == TimeSource::kSigner && !moment.time) return worst;
  keepWorse(worst, checkChain({certificate, certificatesOf(question.pkcs7), question.trust, moment.time}, signer));
  return worst;
}

// noteEnd: of the proof of one signer, if it is the earliest.
void noteEnd(const PKCS7_SIGNER_INFO* info, X509* certificate, Json& report) {
  const std::vector<Pkcs7Ptr> tokens = tokensOf(info);
  if (!tokens.empty()) certificate = authorityOf(tokens.back().get());
  if (certificate == nullptr) return;
  const ASN1_TIME* end = X509_get0_notAfter(certificate);
  if (report.contains("daysLeft") && report["daysLeft"] <= daysUntil(end)) return;
  report["proofEnds"] = timeText(end);
  report["daysLeft"] = daysUntil(end);
}

}  // namespace

bool parseTime(const std::string& text, CheckTime& time) {
  static constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  static constexpr std::size_t kDateLength = 10;
  const std::string whole = text.size() == kDateLength ? text + "T00:00:00Z" : text;
  std::string digits;
  for (std::size_t i = 0; i < kForm.size() && whole.size() == kForm.size(); ++i) {
    const bool wantsDigit = kForm[i] == '0';
    if (wantsDigit) digits += whole[i];
    if (wantsDigit ? whole[i] < '0' || whole[i] > '9' : whole[i] != kForm[i]) return false;
  }
  const ErrorScope errors;
  const Asn1TimePtr parsed(ASN1_TIME_new());
  const bool isTime = ASN1_TIME_set_string(parsed.get(), (digits + "Z").c_str()) == 1;
  if (!isTime && text != "signing") return false;
  time = {!isTime, isTime ? timeOf(parsed.get()) : std::nullopt};
  return true;
}

Verdict checkSignature(const Question& question, Json& report) {
  const ErrorScope errors;
  STACK_OF(X509)* known = question.trust.authorities();
  Finding worst;
  if (PKCS7_verify(question.pkcs7, known, nullptr, question.content, nullptr, PKCS7_BINARY | PKCS7_NOVERIFY) != 1) {
    worst = contentFinding();
  }
  const X509StackPtr certificates(PKCS7_get0_signers(question.pkcs7, known, 0));
  Json signers = Json::array();
  for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signersOf(question.pkcs7)); ++i) {
    PKCS7_SIGNER_INFO* info = sk_PKCS7_SIGNER_INFO_value(signersOf(question.pkcs7), i);
    Json signer = describeSigner(info, certificates.get());
    X509* certificate = sk_X509_value(certificates.get(), i);
    noteEnd(info, certificate, report);
    if (certificate != nullptr) keepWorse(worst, checkSigner(info, certificate, question, signer));
    signers.push_back(std::move(signer));
  }
  if (worst.verdict != Verdict::kValid) report["reason"] = worst.reason;
  report["signers"] = std::move(signers);
  return worst.verdict;
}

}  // namespace zepasign::tools
