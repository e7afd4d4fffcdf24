// A signature is checked in two steps. PKCS7_verify decides over content and signature value alone; then each signer's
// chain is built and judged by X509_verify_cert with the user's time and CRLs. The second step runs after a failed
// first one too, so that the report names the signer in any case.
#include "tools/files/signature_check.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

#include "tools/files/describe.h"
#include "tools/files/paths.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

// eachFile: calls `use` for the file, or for every file of the folder, that can be read.
template <class Use>
void eachFile(const std::string& path, const Use& use) {
  for (const std::string& each : filesAt(path)) {
    CryptoFile file;
    if (readCryptoFile(each, file)) use(file);
  }
}

void freeCrlList(STACK_OF(X509_CRL) * crls) noexcept { sk_X509_CRL_pop_free(crls, X509_CRL_free); }
using CrlListPtr = std::unique_ptr<STACK_OF(X509_CRL), FreeWith<freeCrlList>>;
using Asn1TimePtr = std::unique_ptr<ASN1_TIME, FreeWith<ASN1_TIME_free>>;

struct Finding {
  Verdict verdict;
  std::string reason;
};

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

Verdict chainVerdict(int code) {
  switch (code) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return Verdict::kExpired;
    case X509_V_ERR_CERT_REVOKED:
      return Verdict::kRevoked;
    case X509_V_ERR_UNABLE_TO_GET_CRL:
    case X509_V_ERR_CRL_HAS_EXPIRED:
    case X509_V_ERR_CRL_NOT_YET_VALID:
    case X509_V_ERR_CRL_SIGNATURE_FAILURE:
    case X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER:
      return Verdict::kIncomplete;
    default:
      return Verdict::kUntrusted;
  }
}

// revokedLater: whether no CRL of the certificate's issuer dates the revocation at or before the time of the check.
bool revokedLater(X509_STORE_CTX* context, std::time_t time) {
  X509* certificate = X509_STORE_CTX_get_current_cert(context);
  const CrlListPtr crls(X509_STORE_CTX_get1_crls(context, X509_get_issuer_name(certificate)));
  for (int i = 0; i < sk_X509_CRL_num(crls.get()); ++i) {
    X509_REVOKED* entry = nullptr;
    if (X509_CRL_get0_by_cert(sk_X509_CRL_value(crls.get(), i), &entry, certificate) != 1) continue;
    if (X509_cmp_time(X509_REVOKED_get0_revocationDate(entry), &time) <= 0) return false;
  }
  return true;
}

// decide: called for each problem of a chain; 1 lets it pass. The CAs' own revocation only counts where there is a CRL
// of their issuer. For a time in the past, a CRL of today is the better witness: it may be younger than that time, and
// it says since when a certificate is revoked.
int decide(int isGood, X509_STORE_CTX* context) {
  if (isGood == 1) return 1;
  const int code = X509_STORE_CTX_get_error(context);
  const X509_VERIFY_PARAM* param = X509_STORE_CTX_get0_param(context);
  const bool isForPast = (X509_VERIFY_PARAM_get_flags(param) & X509_V_FLAG_USE_CHECK_TIME) != 0;
  if (code == X509_V_ERR_UNABLE_TO_GET_CRL) return X509_STORE_CTX_get_error_depth(context) > 0 ? 1 : 0;
  if (!isForPast) return 0;
  if (code == X509_V_ERR_CRL_NOT_YET_VALID) return 1;
  return code == X509_V_ERR_CERT_REVOKED && revokedLater(context, X509_VERIFY_PARAM_get_time(param)) ? 1 : 0;
}

Json namesOf(const STACK_OF(X509) * chain) {
  Json names = Json::array();
  for (int i = 0; i < sk_X509_num(chain); ++i)
    names.push_back(nameText(X509_get_subject_name(sk_X509_value(chain, i))));
  return names;
}

// checkChain: builds the chain above the certificate and judges it, if there is anything that the user trusts.
Finding checkChain(X509* certificate, const Question& question, Json& signer) {
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (!context ||
      X509_STORE_CTX_init(context.get(), question.trust.store(), certificate, certificatesOf(question.pkcs7)) != 1) {
    return {Verdict::kUntrusted, tr("no path to a trusted certificate"_m)};
  }
  unsigned long flags = X509_V_FLAG_PARTIAL_CHAIN;  // whatever the user gives is trusted
  if (question.trust.hasCrls()) flags |= X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL;
  X509_STORE_CTX_set_flags(context.get(), flags);
  if (question.time.time) X509_STORE_CTX_set_time(context.get(), 0, *question.time.time);
  X509_STORE_CTX_set_verify_cb(context.get(), decide);
  const bool isTrusted = X509_verify_cert(context.get()) == 1;
  signer["chain"] = namesOf(X509_STORE_CTX_get0_chain(context.get()));
  signer["trusted"] = question.trust.isEmpty() ? Json() : Json(isTrusted);
  if (isTrusted || question.trust.isEmpty()) return {Verdict::kValid, ""};
  const int code = X509_STORE_CTX_get_error(context.get());
  return {chainVerdict(code), chainProblem(code)};
}

// timeOf: seconds since 1970 (UTC); nothing when there is no valid time.
std::optional<std::time_t> timeOf(const ASN1_TIME* time) {
  constexpr std::time_t kSecondsADay = 86'400;
  const Asn1TimePtr epoch(ASN1_TIME_set(nullptr, 0));
  int days = 0;
  int seconds = 0;
  if (time == nullptr || ASN1_TIME_diff(&days, &seconds, epoch.get(), time) != 1) return std::nullopt;
  return days * kSecondsADay + seconds;
}

Finding checkSigner(PKCS7_SIGNER_INFO* info, X509* certificate, Question question, Json& signer) {
  if (question.time.atSigning) question.time.time = timeOf(signingTimeOf(info));
  if (question.time.atSigning && !question.time.time) {
    return {Verdict::kIncomplete, tr("the signature does not say when it was made: give a time with --at"_m)};
  }
  return checkChain(certificate, question, signer);
}

}  // namespace

const char* wordOf(Verdict verdict) {
  static constexpr std::array kWords = {"valid",   "incomplete", "expired",   "untrusted",
                                        "revoked", "changed",    "unreadable"};
  return kWords[static_cast<std::size_t>(verdict)];
}

void Trust::addAuthority(X509* certificate) {
  X509_STORE_add_cert(store_.get(), certificate);
  if (X509_up_ref(certificate) == 1) sk_X509_push(authorities_.get(), certificate);
}

bool Trust::addAuthorities(const std::string& path) {
  eachFile(path, [this](const CryptoFile& file) {
    for (const X509Ptr& each : file.certificates) addAuthority(each.get());
    const STACK_OF(X509)* others = file.pkcs7 ? certificatesOf(file.pkcs7.get()) : nullptr;
    for (int i = 0; i < sk_X509_num(others); ++i) addAuthority(sk_X509_value(others, i));
  });
  return !isEmpty();
}

bool Trust::addCrls(const std::string& path) {
  bool found = false;
  eachFile(path, [this, &found](const CryptoFile& file) {
    for (const X509CrlPtr& each : file.crls) found = X509_STORE_add_crl(store_.get(), each.get()) == 1 || found;
  });
  hasCrls_ = hasCrls_ || found;
  return found;
}

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
  Finding worst = {Verdict::kValid, ""};
  if (PKCS7_verify(question.pkcs7, known, nullptr, question.content, nullptr, PKCS7_BINARY | PKCS7_NOVERIFY) != 1) {
    worst = contentFinding();
  }
  const X509StackPtr certificates(PKCS7_get0_signers(question.pkcs7, known, 0));
  Json signers = Json::array();
  for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signersOf(question.pkcs7)); ++i) {
    PKCS7_SIGNER_INFO* info = sk_PKCS7_SIGNER_INFO_value(signersOf(question.pkcs7), i);
    Json signer = describeSigner(info, certificates.get());
    X509* certificate = sk_X509_value(certificates.get(), i);
    const Finding finding =
        certificate == nullptr ? Finding{Verdict::kValid, ""} : checkSigner(info, certificate, question, signer);
    if (finding.verdict > worst.verdict) worst = finding;
    signers.push_back(std::move(signer));
  }
  if (worst.verdict != Verdict::kValid) report["reason"] = worst.reason;
  report["signers"] = std::move(signers);
  return worst.verdict;
}

}  // namespace zepasign::tools
