// The doctor's look at the CA chains and their CRLs. Whatever is wrong there, the library goes on without the chain, so
// nobody else would tell.
#include <algorithm>
#include <cstdlib>

#include "base/platform.h"
#include "base/propertykeys.h"
#include "base/text.h"
#include "pki/cx509.h"
#include "tools/commands/check.h"
#include "tools/files/describe.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

bool isAuthority(const cX509& certificate) {
  unsigned usage = 0;
  certificate.getKeyUsage(usage);
  return certificate.isSelfIssued() || (usage & (kKeyCertSign | kCrlSign)) != 0;
}

}  // namespace

void ConfigCheck::examineChains() {
  const std::string folder = properties_.value(keys::kChainPath);
  std::vector<std::string> names;
  const bool isListed = !folder.empty() && platform::listFolder(folder, names);
  for (int i = 0; i < keys::kMaxChains; ++i) {
    const std::string title = keys::chainTitle(i);
    const std::string name = properties_.value(keys::chainName(title));
    if (name.empty()) continue;
    if (!isListed) return error(keys::kChainPath, "missing or not a readable folder, so no chain is loaded"_m);
    const auto listed = std::find_if(names.begin(), names.end(), [&name](const std::string& each) {
      return equalsIgnoreCase(each.c_str(), name.c_str());
    });
    if (listed == names.end()) {
      error(keys::chainName(title), "{0} is not in the folder {1}"_m, {toUtf8(name), toUtf8(folder)});
    } else if (!equalsIgnoreCase(name.substr(name.size() - std::min<std::size_t>(4, name.size())).c_str(), ".p7b")) {
      error(keys::chainName(title), "the name must end in .p7b, else the file is not looked at"_m);
    } else {
      examineChain(title, folder + platform::kFolderSeparator + *listed);
    }
  }
  examineReach();
}

void ConfigCheck::examineChain(const std::string& title, const std::string& path) {
  CryptoFile file;
  const std::string key = keys::chainName(title);
  if (!readNamedFile(path, file)) return error(key, "{0} cannot be read: check its rights"_m, {toUtf8(path)});
  if (!file.pkcs7 || sk_X509_num(certificatesOf(file.pkcs7.get())) <= 0) {
    return error(key, "{0} is no P7B with certificates"_m, {toUtf8(path)});
  }
  if (!file.isDer) return error(key, "{0} is PEM or Base64: convert it to DER"_m, {toUtf8(path)});
  examineAuthorities(title, certificatesOf(file.pkcs7.get()));
  examineCrls(title);
}

void ConfigCheck::examineAuthorities(const std::string& title, const STACK_OF(X509) * certificates) {
  const std::string key = keys::chainName(title);
  const X509StorePtr store(X509_STORE_new());
  std::set<std::string> keyIds;
  bool hasRoot = false;
  bool isSound = true;
  for (int i = 0; i < sk_X509_num(certificates); ++i) X509_STORE_add_cert(store.get(), sk_X509_value(certificates, i));
  for (int i = 0; i < sk_X509_num(certificates); ++i) {
    const cX509 certificate(sk_X509_value(certificates, i));
    if (!isAuthority(certificate)) continue;
    hasRoot = hasRoot || certificate.isSelfIssued();
    isSound = examineAuthority(key, certificate.get0(), store.get()) && isSound;
    keyIds.insert(certificate.getSubjectKeyId());
  }
  if (!hasRoot) return error(key, "the chain holds no root certificate, so it is not used: add the root"_m);
  if (isSound) examineSki(title, keyIds);
}

bool ConfigCheck::examineAuthority(const std::string& key, X509* certificate, X509_STORE* store) {
  const ErrorQueueMark mark;
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (context && X509_STORE_CTX_init(context.get(), store, certificate, nullptr) == 1 &&
      X509_verify_cert(context.get()) == 1) {
    return true;
  }
  const int code = context ? X509_STORE_CTX_get_error(context.get()) : X509_V_ERR_OUT_OF_MEM;
  error(key, "{0} does not verify, so the chain is not used: {1}"_m,
        {nameText(X509_get_subject_name(certificate)), chainProblem(code)});
  return false;
}

void ConfigCheck::examineSki(const std::string& title, const std::set<std::string>& keyIds) {
  const std::string ski = properties_.value(keys::chainSki(title));
  if (!ski.empty() && keyIds.contains(ski)) {
    soundChains_.insert(ski);
    return good(keys::chainName(title), "the chain is sound"_m);
  }
  std::string offered;
  for (const std::string& each : keyIds) offered.append(offered.empty() ? "" : ", ").append(each);
  error(keys::chainSki(title), "none of the chain's certificates has this key identifier; they have {0}"_m, {offered});
}

void ConfigCheck::examineCrls(const std::string& title) {
  std::string folder = properties_.value(keys::kCrlPath);
  if (!folder.empty() && !folder.ends_with('/')) folder += '/';
  for (int i = 0; i < keys::kMaxCrlsOfChain; ++i) {
    const std::string key = keys::crlFile(title, keys::crlTitle(i));
    const std::string name = properties_.value(key);
    if (name.empty()) continue;
    if (folder.empty()) return warn(keys::kCrlPath, "missing, so no CRL is loaded"_m);
    examineCrl(key, folder + name);
  }
}

void ConfigCheck::examineCrl(const std::string& key, const std::string& path) {
  CryptoFile file;
  if (!readNamedFile(path, file)) {
    return warn(key, "{0} cannot be read: check folder, name and rights"_m, {toUtf8(path)});
  }
  if (file.crls.empty() || !file.isDer) return warn(key, "{0} is no CRL in DER form"_m, {toUtf8(path)});
  const ASN1_TIME* next = X509_CRL_get0_nextUpdate(file.crls.front().get());
  if (next == nullptr) return good(key, "the CRL does not expire"_m);
  const int days = daysUntil(next);
  days < 0 ? warn(key, "the CRL has expired: fetch a new one"_m)
           : good(key, "the CRL is current for {0} days"_m, {std::to_string(days)});
}

// examineReach: whether a signature that shall carry the signer's chain will find it.
void ConfigCheck::examineReach() {
  const bool wantsChain = std::strtol(properties_.value(keys::kAddCert).c_str(), nullptr, 10) >= 2;
  if (!wantsChain || !pfxOpened_ || pfxHasChain_) return;
  if (signerIssuerKeyId_.empty()) {
    return warn(keys::kAddCert, "the signer's certificate does not name its issuer's key, so no chain is found"_m);
  }
  if (soundChains_.contains(signerIssuerKeyId_)) return good(keys::kAddCert, "signatures carry the signer's chain"_m);
  warn(keys::kAddCert, "no chain is filed under the signer's issuer, whose key identifier is {0}"_m,
       {signerIssuerKeyId_});
}

}  // namespace zepasign::tools
