// zepasign init: a property file to begin with.
#include <cerrno>

#include "base/platform.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/demo/files.h"
#include "tools/messages.h"
#include "tools/output.h"
#include "tools/secret.h"

namespace zepasign::tools {
namespace {

// Template: builds the text of a property file; a setting without a value is left for the user to fill in.
class Template final {
 public:
  void explain(const Message& comment) { text_ += "\n# " + toTerminal(say(comment)) + "\n"; }
  void set(const std::string& key, const std::string& value) {
    text_.append(value.empty() ? "#" : "").append(key).append(" = ").append(value).append("\n");
  }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_ = "# " + toTerminal(say("Settings of ZEPASignDLL. Lines have at most 511 characters."_m)) + "\n";
};

// propertyText: for the demo's files when there are any.
std::string propertyText(const std::string& folder, const DemoFiles& demo) {
  const bool isDemo = !demo.pfx.empty();
  const std::string license = randomHex(32);
  Template file;
  file.explain("The log, one file a day: level DEBUG, INFO, WARN, ERROR or OFF, folder and name"_m);
  file.set("LOG.level", "INFO");
  file.set("LOG.path", folder);
  file.set("LOG.file", "zepasign.log");
  file.explain("Digest: SHA256 or SHA1"_m);
  file.set("PKCS7.digest", "SHA256");
  file.explain("Certificates in the signature: 0 none, 1 the signer's, 2 the signer's and its chain"_m);
  file.set("PKCS7.addCert", "2");
  file.explain("Signing time as a signed attribute; the content inside the signature (FALSE: detached)"_m);
  file.set("PKCS7.addTimestamp", "TRUE");
  file.set("PKCS7.addPlainText", "TRUE");
  file.explain("The signer: PFX folder and file"_m);
  file.set("PFX.path", folder);
  file.set("PFX.file", "signer.pfx");
  file.explain("The key for the enciphered password, 64 hexadecimal digits; keep it secret"_m);
  file.set("PSWD.license", license);
  file.explain(R"(The password: as "zepasign passwd --stored" prints it)"_m);
  file.set("PFX.pswdB64", isDemo ? encipherStored(license, kDemoPassword) : "");
  file.explain(R"(or, with this, as "zepasign passwd" prints it, given at each start)"_m);
  file.set("PSWD.authKey", "");
  file.explain("Who may sign, for instance //S_CN=Chen,I_CN=Root CA// (subject S_, issuer I_; C, O, OU, CN)"_m);
  file.set("PFX.signerFilter", isDemo ? "//S_CN=demo signer//" : "");
  file.explain("CA chains, P7B0 to P7B9: folder, then file and subject key identifier of the issuing CA"_m);
  file.set("P7B.path", isDemo ? folder : "");
  file.set("P7B0.name", isDemo ? "chain.p7b" : "");
  file.set("P7B0.SKI", demo.ski);
  file.explain("CRLs of a chain, crlFile0 to crlFile4"_m);
  file.set("CRL.path", isDemo ? folder : "");
  file.set("P7B0.crlFile0", isDemo ? "ca.crl" : "");
  return file.text();
}

// absolute: so that the settings hold wherever the program is started.
std::string absolute(const std::string& folder) {
  return isAbsolute(folder) ? folder : platform::currentFolder() + platform::kFolderSeparator + folder;
}

// exists: also when it may not be read.
bool exists(const std::string& path) {
  return platform::FilePtr(std::fopen(path.c_str(), "rb")) != nullptr || errno == EACCES;
}

// firstThatExists: nobody's file is written over, least of all a PFX; empty when there is none.
std::string firstThatExists(const std::string& folder, bool isDemo) {
  for (const char* name : {"app.properties", "signer.pfx", "chain.p7b", "ca.crl", "ca.pem"}) {
    std::string path = folder + "/" + name;
    if (exists(path)) return path;
    if (!isDemo) break;
  }
  return {};
}

}  // namespace

int runInit(const InitOptions& options) {
  const auto pathOf = [&options](const char* name) { return options.folder + "/" + name; };
  if (const std::string path = firstThatExists(options.folder, options.demo); !path.empty()) {
    complain(say("{0}: exists already"_m, {fromTerminal(path)}));
    return kFailed;
  }
  const std::string properties = pathOf("app.properties");
  const DemoFiles demo = options.demo ? makeDemo() : DemoFiles();
  bool written = platform::createFolder(options.folder.c_str());
  if (options.demo) {
    written = written && writeFile(pathOf("signer.pfx"), demo.pfx, true) &&
              writeFile(pathOf("chain.p7b"), demo.chain) && writeFile(pathOf("ca.crl"), demo.crl) &&
              writeFile(pathOf("ca.pem"), demo.ca);
  }
  if (!written || !writeFile(properties, propertyText(absolute(options.folder), demo), true)) {
    complain(say("{0}: cannot be written"_m, {fromTerminal(options.folder)}));
    return kFailed;
  }
  printLine(say("{0} is written; zepasign check -c tells what is still missing in it"_m, {fromTerminal(properties)}));
  if (options.demo) printLine(say("The password of the demo's PFX is {0}"_m, {kDemoPassword}));
  return kGood;
}

}  // namespace zepasign::tools
