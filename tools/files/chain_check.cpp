#include "tools/files/chain_check.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "tools/files/describe.h"
#include "tools/files/paths.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

// eachFile: calls `use` for the file, or for every file of the directory, that can be read.
template <class Use>
void eachFile(const std::string& path, const Use& use) {
  for (const std::string& each : filesAt(path)) {
    CryptoFile file;
    if (readCryptoFile(each, file)) use(file);
  }
}

void freeCrlList(STACK_OF(X509_CRL) * crls) noexcept { sk_X509_CRL_pop_free(crls, X509_CRL_free); }
using CrlListPtr = std::unique_ptr<STACK_OF(X509_CRL), FreeWith<freeCrlList>>;

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

// isOrderly: whether the reason of a revocation says that the key was not compromised (RFC 3161, section 4).
bool isOrderly(const X509_REVOKED* entry) {
  static constexpr std::array kReasons = {CRL_REASON_UNSPECIFIED, CRL_REASON_AFFILIATION_CHANGED, CRL_REASON_SUPERSEDED,
                                          CRL_REASON_CESSATION_OF_OPERATION};
  const std::unique_ptr<ASN1_ENUMERATED, FreeWith<ASN1_ENUMERATED_free>> reason(
      static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
  return reason && std::ranges::count(kReasons, ASN1_ENUMERATED_get(reason.get())) > 0;
}

// revokedLater: whether no CRL of the certificate's issuer dates the revocation at or before the time of the check, or,
// for a time stamp of an authority that has retired in an orderly way, before the time stamp was made.
bool revokedLater(X509_STORE_CTX* context, const ChainQuestion& question) {
  X509* certificate = X509_STORE_CTX_get_current_cert(context);
  const bool isTimeStamp = question.madeAt && X509_STORE_CTX_get_error_depth(context) == 0;
  const CrlListPtr crls(X509_STORE_CTX_get1_crls(context, X509_get_issuer_name(certificate)));
  for (int i = 0; i < sk_X509_CRL_num(crls.get()); ++i) {
    X509_REVOKED* entry = nullptr;
    if (X509_CRL_get0_by_cert(sk_X509_CRL_value(crls.get(), i), &entry, certificate) != 1) continue;
    const auto isAfter = [date = X509_REVOKED_get0_revocationDate(entry)](std::time_t time) {
      return X509_cmp_time(date, &time) > 0;
    };
    const bool isLater = question.time && isAfter(*question.time);
    if (!isLater && !(isTimeStamp && isOrderly(entry) && isAfter(*question.madeAt))) return false;
  }
  return true;
}

// decide: called for each problem of a chain; 1 lets it pass. The revocation of CAs and of time-stamping authorities
// only counts where there is a CRL of their issuer. For a time in the past, a CRL of today is the better witness: it
// may be younger than that time, and it says since when a certificate is revoked.
int decide(int isGood, X509_STORE_CTX* context) {
  if (isGood == 1) return 1;
  const int code = X509_STORE_CTX_get_error(context);
  const auto* question = static_cast<const ChainQuestion*>(X509_STORE_CTX_get_app_data(context));
  if (code == X509_V_ERR_UNABLE_TO_GET_CRL) {
    const bool isSigner = X509_STORE_CTX_get_error_depth(context) == 0;
    return isSigner && question->purpose == ChainQuestion::Purpose::kAny ? 0 : 1;
  }
  if (code == X509_V_ERR_CERT_REVOKED) return revokedLater(context, *question) ? 1 : 0;
  return code == X509_V_ERR_CRL_NOT_YET_VALID && question->time ? 1 : 0;
}

Json namesOf(const STACK_OF(X509) * chain) {
  Json names = Json::array();
  for (int i = 0; i < sk_X509_num(chain); ++i)
    names.push_back(nameText(X509_get_subject_name(sk_X509_value(chain, i))));
  return names;
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

void keepWorse(Finding& worst, Finding next) {
  if (next.verdict > worst.verdict) worst = std::move(next);
}

Finding checkChain(const ChainQuestion& question, Json& report) {
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (!context ||
      X509_STORE_CTX_init(context.get(), question.trust.store(), question.certificate, question.others) != 1) {
    return {Verdict::kUntrusted, tr("no path to a trusted certificate"_m)};
  }
  unsigned long flags = X509_V_FLAG_PARTIAL_CHAIN;  // whatever the user gives is trusted
  if (question.trust.hasCrls()) flags |= X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL;
  X509_STORE_CTX_set_flags(context.get(), flags);
  if (question.time) X509_STORE_CTX_set_time(context.get(), 0, *question.time);
  if (question.purpose == ChainQuestion::Purpose::kTimeStamping) {
    X509_STORE_CTX_set_purpose(context.get(), X509_PURPOSE_TIMESTAMP_SIGN);
  }
  ChainQuestion asked = question;
  X509_STORE_CTX_set_app_data(context.get(), &asked);
  X509_STORE_CTX_set_verify_cb(context.get(), decide);
  const bool isTrusted = X509_verify_cert(context.get()) == 1;
  report["chain"] = namesOf(X509_STORE_CTX_get0_chain(context.get()));
  report["trusted"] = question.trust.isEmpty() ? Json() : Json(isTrusted);
  if (isTrusted || question.trust.isEmpty()) return {};
  const int code = X509_STORE_CTX_get_error(context.get());
  return {chainVerdict(code), chainProblem(code)};
}

}  // namespace zepasign::tools
