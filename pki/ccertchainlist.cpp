// Loading goes through the ten indices. For each one the steps below are taken until one fails; the state that it then
// has decides what is logged and counted, and is all that an observer is told.
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

// readChainFile: the DER PKCS#7 signed-data of a file that holds certificates; null, and the reason, for any other.
// Throws std::bad_alloc.
Pkcs7Ptr readChainFile(const std::string& path, ChainState& reason) {
  reason = ChainState::kNotOpened;
  const platform::FilePtr file = platform::openForReading(path.c_str());
  if (!file) return nullptr;
  const BioPtr stream(BIO_new_fp(file.get(), BIO_NOCLOSE));
  if (!stream) throw std::bad_alloc();
  Pkcs7Ptr pkcs7(attempt([&] { return d2i_PKCS7_bio(stream.get(), nullptr); }));
  reason = ChainState::kNoPkcs7;
  if (!pkcs7 || !PKCS7_type_is_signed(pkcs7.get()) || pkcs7->d.sign == nullptr) return nullptr;
  reason = ChainState::kNoCertificates;
  return sk_X509_num(pkcs7->d.sign->cert) < 1 ? nullptr : std::move(pkcs7);
}

ChainState judge(const cCertChainEntry& chain, const std::string& ski) {
  if (!chain.isValid()) return chain.hasRoot() ? ChainState::kNotVerified : ChainState::kNoRoot;
  return ski.empty() || chain.findAuthority(ski) == nullptr ? ChainState::kOtherSki : ChainState::kAccepted;
}

}  // namespace

// Candidate: the settings of one index and, when its file could be read, its chain.
struct cCertChainList::Candidate {
  Candidate(const std::string& prefix, const cProperty& property)
      : title(prefix),
        nameKey(keys::chainName(prefix)),
        ski(property.getProperty(keys::chainSki(prefix).c_str())),
        name(property.getProperty(nameKey.c_str())) {}

  std::string title;
  std::string nameKey;
  std::string ski;
  std::string name;
  std::string path = {};
  std::unique_ptr<cCertChainEntry> chain = {};
};

bool cCertChainList::loadCertChainFiles(const cProperty* property, const ChainObserver& observer) {
  logText(kInfo, "begin cCertChainList::loadCertChainFiles()");
  const auto end = [](bool accepted) { logBool(kInfo, "end cCertChainList::loadCertChainFiles()", accepted); };
  bool accepted = false;
  try {
    accepted = load(property, observer);
  } catch (const std::bad_alloc&) {
    chains_.clear();
    end(false);
    throw;
  }
  end(accepted);
  return accepted;
}

bool cCertChainList::load(const cProperty* property, const ChainObserver& observer) {
  if (property == nullptr) {
    logText(kError, "參數錯誤 : property = NULL"_big5);
    return false;
  }
  directory_ = property->getProperty(keys::kChainPath);
  if (directory_.empty()) {
    logText(kError, "未指定 P7B 目錄!"_big5);
    if (observer) observer({ChainState::kNoDirectory});
    return false;
  }
  std::vector<std::string> names;
  if (!listChainFiles(names)) {
    logText(kError, "無法讀取 P7B 目錄!"_big5);
    if (observer) observer({ChainState::kDirectoryUnreadable});
    return false;
  }
  return loadAll(names, *property, observer);
}

bool cCertChainList::loadAll(const std::vector<std::string>& names, const cProperty& property,
                             const ChainObserver& observer) {
  int opened = 0;
  int accepted = 0;
  for (int i = 0; i < keys::kMaxChains; ++i) {
    Candidate candidate(keys::chainTitle(i), property);
    const ChainState state = loadChain(candidate, names, property);
    if (state > ChainState::kNotOpened) ++opened;
    if (observer) observer({state, candidate.title, candidate.path, candidate.chain.get()});
    if (state != ChainState::kAccepted) continue;
    ++accepted;
    chains_.try_emplace(candidate.ski, std::move(candidate.chain));
    if (logger.isEnabled(kInfo)) logText(kInfo, "載入 "_big5 + candidate.nameKey + " 檔成功"_big5);
  }
  return accepted == opened;
}

bool cCertChainList::isChainFileName(const std::string& name) {
  static constexpr std::string_view kExtension = ".p7b";
  return name.size() >= kExtension.size() &&
         equalsIgnoreCase(name.c_str() + name.size() - kExtension.size(), kExtension.data());
}

bool cCertChainList::listChainFiles(std::vector<std::string>& names) const {
  if (!platform::listDirectory(directory_, names)) return false;
  std::erase_if(names, [](const std::string& name) { return !isChainFileName(name); });
  return true;
}

// loadChain: a valid chain with another key identifier than the configured one gets both ERROR lines: operators search
// for either.
ChainState cCertChainList::loadChain(Candidate& candidate, const std::vector<std::string>& names,
                                     const cProperty& property) const {
  if (candidate.name.empty()) return ChainState::kNotConfigured;
  const auto listed = std::find_if(names.begin(), names.end(), [&candidate](const std::string& each) {
    return equalsIgnoreCase(each.c_str(), candidate.name.c_str());
  });
  if (listed == names.end()) return ChainState::kNotListed;
  if (logger.isEnabled(kInfo)) logValue(kInfo, "執行載入 "_big5 + candidate.nameKey + " 檔"_big5, candidate.name);
  candidate.path = directory_ + platform::kDirectorySeparator + *listed;
  ChainState state{};
  const Pkcs7Ptr pkcs7 = readChainFile(candidate.path, state);
  if (!pkcs7) return state;
  candidate.chain = std::make_unique<cCertChainEntry>(candidate.title, pkcs7.get(), &property);
  state = judge(*candidate.chain, candidate.ski);
  if (state == ChainState::kOtherSki) logErrorValue("憑證鏈 SKI 與設定檔不符"_big5, candidate.ski);
  if (state != ChainState::kAccepted) logText(kError, "內部驗證失敗, 這個憑證鏈捨棄不使用, 無法用來驗憑證鏈"_big5);
  return state;
}

X509StackPtr cCertChainList::prepareCertChain(X509* signer) const {
  X509StackPtr chain = signer == nullptr ? nullptr : collectIssuers(cX509(signer).getAuthorityKeyId());
  logInt(kDebug, "end cCertChainList::prepareCertChain() 數量"_big5, std::max(sk_X509_num(chain.get()), 0));
  return chain;
}

X509StackPtr cCertChainList::collectIssuers(std::string key) const {
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
