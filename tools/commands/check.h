// ConfigCheck: says in plain words what is wrong with a property file and everything that it names, where, and what to
// do about it. The library's own classes decide what loads, what is valid and which chain is used. The code here only
// explains their results, and examines what the library does not: permissions, accounts, dates, CRLs. To add a finding:
// a row in check_findings.inc, one in docs/check.md and docs/zh-TW/check.md, and a call of `add`.
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

// FoundFile: the content of a file that a property names, even if the library does not load it; nothing when it cannot
// be read. `isPem` tells PEM from DER and from Base64 text.
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

  // The private functions add findings about one subject each.
  //
  // examineMark: the byte-order mark; true when the file begins with one.
  [[nodiscard]] bool examineMark();
  // examineKey: one pair: an unknown or misspelt key, a later pair with the same key, a comment in the wrong place.
  void examineKey(const PropertyText::Pair& pair);
  // examinePaths: directories that are relative or written for another system.
  void examinePaths();
  // examineAccount: whether the property file, or for root the log, belongs to another account than this process.
  void examineAccount();
  // examineLog: the level, the settings of the log file, and whether it can be written.
  void examineLog(bool logIsWritten);
  // examineCertificateMode: how many certificates a signature carries. examineFlag: a setting of TRUE or FALSE.
  void examineCertificateMode();
  void examineFlag(const char* key);

  // findPassword, decryptPassword: false when there is no usable password; `whenWrong` is added when the license gives
  // a key that does not decrypt it. The caller wipes `password`, also after a failure.
  [[nodiscard]] bool findPassword(std::string& password);
  [[nodiscard]] bool decryptPassword(const FindingKind& whenWrong, const std::string& key, std::string& password);
  // examineLicense: the form of PSWD.license; false when it has no value.
  [[nodiscard]] bool examineLicense();
  // examinePfx: loads credential_. Without a password it only reports open permissions and a file that is no readable
  // PFX.
  void examinePfx(const std::string& password, bool hasPassword);
  // examineSigner, examineFilter: REQUIRES: credential_ holds a certificate.
  void examineSigner();
  void examineFilter();
  // examineConditions: conditions in one alternative of the filter that the library ignores.
  void examineConditions(const std::string& alternative);

  // Each chain file is reported once by the chain list; what is wrong inside is found from that report.
  void examineChains();
  void examineChain(const ChainReport& report);
  void explainDirectory(ChainState state);
  void explainUnlisted(const std::string& key);
  void explainChainFile(const ChainReport& report);
  void explainMembers(const ChainReport& report);
  void explainSki(const ChainReport& report);
  void examineAccepted(const ChainReport& report);

  // examineCrls, examineCrl, examineRevocations: `key` is the property key of the CRL. REQUIRES: the report has a
  // chain.
  void examineCrls(const ChainReport& report);
  void examineCrl(const std::string& key, const cCrlFileEntry& entry, const cCertChainEntry& chain);
  void examineRevocations(const std::string& key, const cCrlFileEntry& entry, const cCertChainEntry& chain);

  // explainMissingChain: why the signature does not carry the path to a root; `last` is the name of the last
  // certificate on the path.
  void explainMissingChain(const std::string& last);

  const CheckInput& input_;
  Findings& findings_;
  cPkcs12 credential_;     // the signer; empty unless the PFX opened
  cCertChainList chains_;  // a list of its own; the library does not show the one it signs with
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_CHECK_H_
