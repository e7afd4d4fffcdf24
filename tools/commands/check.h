// ConfigCheck: says in plain words what is wrong with a property file and everything that it names, where, and what to
// do about it. The library's own classes give every verdict: what loads, what verifies, which chain is taken. The code
// here only explains them, and looks at what the library does not ask: permissions, accounts, dates, CRLs. To let it
// say something new: a row in check_findings.inc, one in docs/check.md, and a call of `add`.
//
//   check.cpp            the command: trial initialisation and signature, then the parts below
//   check_settings.cpp   the property file itself, its lines, keys and plain values
//   check_signer.cpp     password, PFX, signer, filter
//   check_chains.cpp     the chain files, check_crls.cpp their CRLs
//   check_signature.cpp  which certificates the trial signature really carries
//
// Thread rule: one thread; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_COMMANDS_CHECK_H_
#define ZEPASIGN_TOOLS_COMMANDS_CHECK_H_

#include <string>
#include <vector>

#include "base/cproperty.h"
#include "pki/ccertchainlist.h"
#include "pki/cpkcs12.h"
#include "tools/commands/check_findings.h"
#include "tools/files/cryptofile.h"

namespace zepasign::tools {

// FoundFile: what a file that a property names really holds, whatever the library says of it; nothing when it cannot
// be read. `isPem` tells it from DER and from Base64 text.
struct FoundFile {
  explicit FoundFile(const std::string& path);
  CryptoFile file = {};
  bool isPem = false;
};

// CheckInput: what all parts work on. The objects outlive the check.
struct CheckInput {
  std::string propertyFile;        // its path
  const std::string& bytes;        // its content
  const PropertyText& properties;  // the same line by line
  const cProperty& settings;       // the same as the library reads it
  const std::string& enced;        // what ZEPASignInitial gets beside a file with PSWD.authKey
  int warnDays;                    // certificates that expire within so many days get a warning
};

class ConfigCheck final {
 public:
  // ConfigCheck: both objects must outlive it. The parts are to be called once each, in the order below.
  ConfigCheck(const CheckInput& input, Findings& findings) : input_(input), findings_(findings) {}

  // examineLines: the file as such, its permissions and owner, and every line and key.
  void examineLines();
  // examineSettings: the values that name no file. `logIsWritten` tells whether the log took a line.
  void examineSettings(bool logIsWritten);
  // examineFiles: the PFX with its password and filter, then the chains with their CRLs.
  void examineFiles();
  // examineSignature: the certificates that are really in a trial signature. REQUIRES: examineFiles was called.
  void examineSignature(PKCS7* signature);
  // explainUnsigned: why no trial signature came although the library initialised; `code` is the library's. REQUIRES:
  // examineFiles was called.
  void explainUnsigned(int code);

 private:
  // add: a finding about a key, at the line where it is set.
  void add(const FindingKind& kind, const std::string& key, Arguments arguments = {}, const Figures& figures = {}) {
    findings_.add(kind, key, arguments, figures);
  }
  [[nodiscard]] std::string value(const std::string& key) const { return input_.properties.value(key); }
  // has: whether the key has a value, without a copy of what may be secret.
  [[nodiscard]] bool has(const std::string& key) const {
    const PropertyText::Pair* pair = input_.properties.find(key);
    return pair != nullptr && !pair->value.empty();
  }

  [[nodiscard]] bool examineMark();
  void examineKey(const PropertyText::Pair& pair);
  void examinePaths();
  void examineAccount();
  void examineLog(bool logIsWritten);
  void examineCertificateMode();
  void examineFlag(const char* key);

  [[nodiscard]] bool findPassword(std::string& password);
  [[nodiscard]] bool decryptPassword(const FindingKind& whenWrong, const std::string& key, std::string& password);
  [[nodiscard]] bool examineLicense();
  void examinePfx(const std::string& password, bool hasPassword);
  void examineSigner();
  void examineFilter();
  void examineConditions(const std::string& alternative);

  // Each chain file is reported once by the chain list; what is wrong inside is found from that report.
  void examineChains();
  void examineChain(const ChainReport& report);
  void explainFolder(ChainState state);
  void explainUnlisted(const std::string& key);
  void explainChainFile(const ChainReport& report);
  void explainMembers(const ChainReport& report);
  void explainSki(const ChainReport& report);
  void examineAccepted(const ChainReport& report);

  void examineCrls(const ChainReport& report);
  void examineCrl(const std::string& key, const cCrlFileEntry& entry, const cCertChainEntry& chain);
  void examineRevocations(const std::string& key, const cCrlFileEntry& entry, const cCertChainEntry& chain);

  void explainMissingChain(const std::string& last);

  const CheckInput& input_;
  Findings& findings_;
  cPkcs12 credential_;     // the signer; empty unless the PFX opened
  cCertChainList chains_;  // a list of its own; the library does not show the one it signs with
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_CHECK_H_
