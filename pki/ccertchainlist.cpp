#include "pki/ccertchainlist.h"

#include <algorithm>
#include <new>
#include <set>

#include "base/big5.h"
#include "base/clog.h"
#include "base/cproperty.h"
#include "base/platform.h"
#include "base/propertykeys.h"
#include "base/text.h"

namespace zepasign {
namespace {

// readChainFile: the DER PKCS#7 signed-data of a file, null unless it holds certificates. Throws std::bad_alloc.
Pkcs7Ptr readChainFile(BIO* file) {
  OwnErrors errors;
  Pkcs7Ptr pkcs7(d2i_PKCS7_bio(file, nullptr));
  if (!pkcs7) errors.throwIfMemoryLacks();
  const bool isSigned = pkcs7 && PKCS7_type_is_signed(pkcs7.get()) && pkcs7->d.sign != nullptr;
  if (!isSigned || sk_X509_num(pkcs7->d.sign->cert) < 1) pkcs7.reset();
  return pkcs7;
}

}  // namespace

bool cCertChainList::loadCertChainFiles(const cProperty* property) {
  logText(kInfo, "begin cCertChainList::loadCertChainFiles()");
  bool accepted = false;
  try {
    accepted = load(property);
  } catch (const std::bad_alloc&) {
    chains_.clear();  // so that the next initialisation loads them all
    throw;
  }
  logBool(kInfo, "end cCertChainList::loadCertChainFiles()", accepted);
  return accepted;
}

bool cCertChainList::load(const cProperty* property) {
  if (property == nullptr) {
    logText(kError, "參數錯誤 : property = NULL"_big5);
    return false;
  }
  folder_ = property->getProperty(keys::kChainPath);
  if (folder_.empty()) {
    logText(kError, "未指定 P7B 目錄!"_big5);
    return false;
  }
  std::vector<std::string> names;
  if (!listChainFiles(names)) {
    logText(kError, "無法讀取 P7B 目錄!"_big5);
    return false;
  }
  int opened = 0;
  int accepted = 0;
  for (int i = 0; i < keys::kMaxChains; ++i) {
    const Outcome outcome = loadChain(keys::chainTitle(i), names, *property);
    if (outcome != Outcome::kNotOpened) ++opened;
    if (outcome == Outcome::kAccepted) ++accepted;
  }
  return accepted == opened;
}

bool cCertChainList::listChainFiles(std::vector<std::string>& names) const {
  constexpr std::size_t kExtensionLength = 4;
  if (!platform::listFolder(folder_, names)) return false;
  std::erase_if(names, [](const std::string& name) {
    return name.size() < kExtensionLength || !equalsIgnoreCase(name.c_str() + name.size() - kExtensionLength, ".p7b");
  });
  return true;
}

cCertChainList::Outcome cCertChainList::loadChain(const std::string& title, const std::vector<std::string>& names,
                                                  const cProperty& property) {
  const std::string nameKey = keys::chainName(title);
  const std::string ski = property.getProperty(keys::chainSki(title).c_str());
  const std::string name = property.getProperty(nameKey.c_str());
  const auto listed = std::find_if(names.begin(), names.end(), [&name](const std::string& candidate) {
    return equalsIgnoreCase(candidate.c_str(), name.c_str());
  });
  if (name.empty() || listed == names.end()) return Outcome::kNotOpened;
  if (logger.isEnabled(kInfo)) logValue(kInfo, "執行載入 "_big5 + nameKey + " 檔"_big5, name);
  const std::string path = folder_ + platform::kFolderSeparator + *listed;
  const platform::FilePtr file = platform::openForReading(path.c_str());
  if (!file) return Outcome::kNotOpened;
  const BioPtr stream(BIO_new_fp(file.get(), BIO_NOCLOSE));
  if (!stream) throw std::bad_alloc();
  const Pkcs7Ptr pkcs7 = readChainFile(stream.get());
  if (!pkcs7) return Outcome::kRejected;
  auto chain = std::make_unique<cCertChainEntry>(title, ski, pkcs7.get(), &property);
  if (!isAcceptable(*chain, ski)) return Outcome::kRejected;
  chains_.try_emplace(ski, std::move(chain));
  if (logger.isEnabled(kInfo)) logText(kInfo, "載入 "_big5 + nameKey + " 檔成功"_big5);
  return Outcome::kAccepted;
}

// isAcceptable: whether the chain is sound and holds the configured key identifier. A sound chain with another one gets
// both lines, on purpose.
bool cCertChainList::isAcceptable(const cCertChainEntry& chain, const std::string& ski) {
  if (chain.isSound() && !ski.empty() && chain.findAuthority(ski) != nullptr) return true;
  if (chain.isSound()) logErrorValue("憑證鏈 SKI 與設定檔不符"_big5, ski);
  logText(kError, "內部驗證失敗, 這個憑證鏈捨棄不使用, 無法用來驗憑證鏈"_big5);
  return false;
}

X509StackPtr cCertChainList::prepareCertChain(X509* signer) const {
  X509StackPtr chain = signer == nullptr ? nullptr : climb(cX509(signer).getAuthorityKeyId());
  logInt(kDebug, "end cCertChainList::prepareCertChain() 數量"_big5, std::max(sk_X509_num(chain.get()), 0));
  return chain;
}

X509StackPtr cCertChainList::climb(std::string key) const {
  const auto entry = chains_.find(key);
  if (entry == chains_.end()) return nullptr;
  X509StackPtr chain(sk_X509_new_null());
  if (!chain) throw std::bad_alloc();
  std::set<std::string> visited;
  while (!key.empty() && visited.insert(key).second) {
    const cCertChainEntry::Authority* authority = entry->second->findAuthority(key);
    if (authority == nullptr) break;
    logDebugValue("找到簽章 CA 的 subject"_big5, authority->subject);
    key = authority->authorityKeyId;
    if (sk_X509_unshift(chain.get(), authority->certificate->get0()) == 0) throw std::bad_alloc();
    if (authority->isRoot) {
      logText(kDebug, "這是 CA 的根憑證"_big5);
      break;
    }
  }
  return chain;
}

}  // namespace zepasign
