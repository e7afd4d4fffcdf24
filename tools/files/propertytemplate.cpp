#include "tools/files/propertytemplate.h"

#include "base/propertykeys.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

class Template final {
 public:
  void explain(const Message& comment) { text_ += "\n# " + toTerminal(tr(comment)) + "\n"; }
  void set(const std::string& key, const std::string& value) {
    text_.append(value.empty() ? "#" : "").append(key).append(" = ").append(value).append("\n");
  }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_ = "# " + toTerminal(tr("Settings of ZEPASignDLL. Lines have at most 511 characters."_m)) + "\n";
};

void addOperation(const Settings& settings, Template& file) {
  file.explain("The log, one file a day: level DEBUG, INFO, WARN, ERROR or OFF, directory and name"_m);
  file.set(keys::kLogLevel, "INFO");
  file.set(keys::kLogPath, settings.logDirectory);
  file.set(keys::kLogFile, "zepasign.log");
  file.explain("The log is Big5; with UTF-8 here it is UTF-8"_m);
  file.set(keys::kLogEncoding, "");
  file.explain("Digest: SHA256 or SHA1"_m);
  file.set(keys::kDigest, "SHA256");
  file.explain("Certificates in the signature: 0 none, 1 the signer's, 2 the signer's and its chain"_m);
  file.set(keys::kAddCert, "2");
  file.explain("Signing time as a signed attribute; the content inside the signature (FALSE: detached)"_m);
  file.set(keys::kAddTimestamp, "TRUE");
  file.set(keys::kAddPlainText, "TRUE");
}

void addSigner(const Settings& settings, Template& file) {
  file.explain("The signer: directory and file of the PFX"_m);
  file.set(keys::kPfxPath, settings.pfxDirectory);
  file.set(keys::kPfxFile, settings.pfxFile);
  file.explain("The key for the encrypted password, 64 hexadecimal digits; keep it secret"_m);
  file.set(keys::kLicense, settings.license);
  file.explain(R"(The password: as "zepasign passwd --stored" prints it)"_m);
  file.set(keys::kPfxPasswordB64, settings.storedPassword);
  file.explain(R"(or set this, and pass what "zepasign passwd" prints at each start)"_m);
  file.set(keys::kAuthKey, "");
  file.explain("or, with none of them, the path of a file whose first line is the password"_m);
  file.set(keys::kPfxPasswordFile, "");
  file.explain("Who may sign, for example //S_CN=Chen,I_CN=Root CA// (subject S_, issuer I_; C, O, OU, CN)"_m);
  file.set(keys::kSignerFilter, settings.signerFilter);
}

void addChain(const Settings& settings, Template& file) {
  const std::string title = keys::chainTitle(0);
  file.explain("CA chains, P7B0 to P7B9: directory, then file and subject key identifier of the issuing CA"_m);
  file.set(keys::kChainPath, settings.chainDirectory);
  file.set(keys::chainName(title), settings.chainFile);
  file.set(keys::chainSki(title), settings.chainKeyId);
  file.explain("CRLs of a chain, crlFile0 to crlFile4"_m);
  file.set(keys::kCrlPath, settings.crlFile.empty() ? "" : settings.chainDirectory);
  file.set(keys::crlFile(title, keys::crlTitle(0)), settings.crlFile);
}

}  // namespace

std::string propertyText(const Settings& settings) {
  Template file;
  addOperation(settings, file);
  addSigner(settings, file);
  addChain(settings, file);
  return file.text();
}

}  // namespace zepasign::tools
