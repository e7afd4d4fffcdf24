// ConfigCheck on the CA chains. The chain list reports the result of each; if something is wrong with a chain, the
// library goes on without it, and only the log tells.
#include <algorithm>

#include "base/propertykeys.h"
#include "base/text.h"
#include "pki/cx509.h"
#include "tools/commands/check.h"
#include "tools/files/describe.h"
#include "tools/terminal/access.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

std::string nameKey(const ChainReport& report) { return keys::chainName(report.title); }
std::string skiKey(const ChainReport& report) { return keys::chainSki(report.title); }

bool isAuthority(const cCertChainEntry::Member& member) { return member.kind != cCertChainEntry::Kind::kEndEntity; }

// whyNoChain: what to say of a chain file that the library does not take for one.
const FindingKind& whyNoChain(const std::string& path) {
  const FoundFile found(path);
  if (found.file.pkcs7) return found.isPem ? "chain-is-pem"_finding : "chain-is-base64"_finding;
  if (found.file.certificates.empty()) return "chain-is-other"_finding;
  return found.isPem ? "chain-is-certificates"_finding : "chain-is-certificate"_finding;
}

}  // namespace

void ConfigCheck::examineChains() {
  static_cast<void>(
      chains_.loadCertChainFiles(&input_.settings, [this](const ChainReport& report) { examineChain(report); }));
}

void ConfigCheck::examineChain(const ChainReport& report) {
  switch (report.state) {
    case ChainState::kNoDirectory:
    case ChainState::kDirectoryUnreadable:
      return explainDirectory(report.state);
    case ChainState::kNotConfigured:
      if (!value(skiKey(report)).empty()) add("chain-without-name"_finding, skiKey(report), {nameKey(report)});
      return;
    case ChainState::kNotListed:
      return explainUnlisted(nameKey(report));
    case ChainState::kNotOpened:
    case ChainState::kNoPkcs7:
    case ChainState::kNoCertificates:
      return explainChainFile(report);
    case ChainState::kNoRoot:
      return add("chain-without-root"_finding, nameKey(report));
    case ChainState::kNotVerified:
      return explainMembers(report);
    case ChainState::kOtherSki:
      explainSki(report);
      return examineCrls(report);
    case ChainState::kAccepted:
      examineAccepted(report);
      return examineCrls(report);
  }
}

// explainDirectory: no directory is no mistake while no chain is named.
void ConfigCheck::explainDirectory(ChainState state) {
  const auto& pairs = input_.properties.pairs();
  const bool isWanted = std::any_of(pairs.begin(), pairs.end(), [](const PropertyText::Pair& pair) {
    return isKnownKey(pair.key) && pair.key.ends_with(".name") && !pair.value.empty();
  });
  if (!isWanted) return;
  if (state == ChainState::kNoDirectory) return add("chain-folder-setting-missing"_finding, keys::kChainPath);
  const std::string directory = value(keys::kChainPath);
  const bool isForbidden = directoryAccess(directory) == FileAccess::kForbidden;
  add(isForbidden ? "chain-folder-forbidden"_finding : "chain-folder-missing"_finding, keys::kChainPath,
      {toUtf8(directory)});
}

void ConfigCheck::explainUnlisted(const std::string& key) {
  const std::string name = value(key);
  if (!cCertChainList::isChainFileName(name)) return add("chain-name-extension"_finding, key);
  add("chain-missing"_finding, key, {toUtf8(name), toUtf8(value(keys::kChainPath))});
}

void ConfigCheck::explainChainFile(const ChainReport& report) {
  const std::string key = nameKey(report);
  if (report.state == ChainState::kNoCertificates) return add("chain-empty"_finding, key, {toUtf8(report.path)});
  if (report.state == ChainState::kNoPkcs7) return add(whyNoChain(report.path), key, {toUtf8(report.path)});
  const bool isForbidden = fileAccess(report.path) == FileAccess::kForbidden;
  add(isForbidden ? "chain-forbidden"_finding : "chain-irregular"_finding, key, {toUtf8(report.path)});
}

void ConfigCheck::explainMembers(const ChainReport& report) {
  for (const cCertChainEntry::Member& member : report.chain->members()) {
    if (member.code == X509_V_OK) continue;
    const std::string name = nameText(X509_get_subject_name(member.certificate));
    add("chain-unverified"_finding, nameKey(report), {name, chainProblem(member.code)}, {.verifyCode = member.code});
  }
}

void ConfigCheck::explainSki(const ChainReport& report) {
  std::string offered;
  for (const cCertChainEntry::Member& member : report.chain->members()) {
    const std::string ski = isAuthority(member) ? cX509(member.certificate).getSubjectKeyId() : "";
    if (!ski.empty()) offered.append(offered.empty() ? "" : ", ").append(ski);
  }
  add("chain-other-ski"_finding, skiKey(report), {offered});
}

// examineAccepted: a chain is lost with its first certificate that expires.
void ConfigCheck::examineAccepted(const ChainReport& report) {
  if (chains_.holds(value(skiKey(report)))) return add("chain-repeated-ski"_finding, skiKey(report));
  int days = 0;
  X509* first = nullptr;
  for (const cCertChainEntry::Member& member : report.chain->members()) {
    if (!isAuthority(member)) continue;
    const int left = daysUntil(X509_get0_notAfter(member.certificate));
    if (first != nullptr && left >= days) continue;
    days = left;
    first = member.certificate;
  }
  const std::string count = std::to_string(days);
  if (days > input_.warnDays) return add("chain-good"_finding, nameKey(report), {count}, {.days = days});
  const std::string name = nameText(X509_get_subject_name(first));
  add("chain-expires-soon"_finding, nameKey(report), {name, count}, {.days = days});
}

}  // namespace zepasign::tools
