// ConfigCheck on the CRLs of a chain. The library only loads and logs them; whether they name the signer or a
// certificate of the chain is examined here.
#include <algorithm>

#include "base/propertykeys.h"
#include "pki/cx509.h"
#include "tools/commands/check.h"
#include "tools/files/describe.h"
#include "tools/terminal/access.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

// whyNoCrl: what to say of a CRL that did not load.
const FindingKind& whyNoCrl(const std::string& path) {
  switch (fileAccess(path)) {
    case FileAccess::kMissing:
      return "crl-missing"_finding;
    case FileAccess::kForbidden:
      return "crl-forbidden"_finding;
    case FileAccess::kIrregular:
      return "crl-irregular"_finding;
    case FileAccess::kReadable:
      break;
  }
  const FoundFile found(path);
  return found.isPem && !found.file.crls.empty() ? "crl-is-pem"_finding : "crl-is-other"_finding;
}

bool isIssuedBy(X509_CRL* crl, X509* authority) {
  const ErrorScope errors;
  return X509_NAME_cmp(X509_get_subject_name(authority), X509_CRL_get_issuer(crl)) == 0 &&
         X509_CRL_verify(crl, X509_get0_pubkey(authority)) == 1;
}

bool revokes(X509_CRL* crl, X509* certificate) {
  X509_REVOKED* entry = nullptr;
  return certificate != nullptr && X509_CRL_get0_by_cert(crl, &entry, certificate) == 1;
}

}  // namespace

// examineCrls: the settings of the chain's CRLs are its title, a point, and the title of an entry.
void ConfigCheck::examineCrls(const ChainReport& report) {
  const cCrlList::Entries& entries = report.chain->crls()->entries();
  const auto& pairs = input_.properties.pairs();
  const bool isWanted = std::any_of(pairs.begin(), pairs.end(), [&](const PropertyText::Pair& pair) {
    return pair.key.starts_with(report.title + ".crl") && isKnownKey(pair.key) && !pair.value.empty();
  });
  if (isWanted && value(keys::kCrlPath).empty()) return add("crl-folder-setting-missing"_finding, keys::kCrlPath);
  for (const auto& [title, entry] : entries) examineCrl(keys::crlFile(report.title, title), *entry, *report.chain);
}

void ConfigCheck::examineCrl(const std::string& key, const cCrlFileEntry& entry, const cCertChainEntry& chain) {
  X509_CRL* crl = entry.get0();
  if (crl == nullptr) return add(whyNoCrl(entry.path()), key, {toUtf8(entry.path())});
  examineRevocations(key, entry, chain);
  const ASN1_TIME* next = X509_CRL_get0_nextUpdate(crl);
  if (next == nullptr) return add("crl-endless"_finding, key);
  const int days = daysUntil(next);
  if (entry.isExpired()) return add("crl-expired"_finding, key, {}, {.days = days});
  add("crl-good"_finding, key, {std::to_string(days)}, {.days = days});
}

void ConfigCheck::examineRevocations(const std::string& key, const cCrlFileEntry& entry, const cCertChainEntry& chain) {
  X509_CRL* crl = entry.get0();
  const auto& members = chain.members();
  const bool isOfTheChain = std::any_of(members.begin(), members.end(), [crl](const cCertChainEntry::Member& member) {
    return member.kind != cCertChainEntry::Kind::kEndEntity && isIssuedBy(crl, member.certificate);
  });
  if (!isOfTheChain) {
    return add("crl-foreign"_finding, key, {nameText(X509_CRL_get_issuer(crl)), toUtf8(entry.path())});
  }
  if (revokes(crl, credential_.certificate())) add("signer-revoked"_finding, key, {toUtf8(entry.path())});
  for (const cCertChainEntry::Member& member : members) {
    if (!revokes(crl, member.certificate)) continue;
    add("crl-revokes-ca"_finding, key, {nameText(X509_get_subject_name(member.certificate))});
  }
}

}  // namespace zepasign::tools
