// zepasign init: a property file to begin with.
#include <cerrno>

#include "base/platform.h"
#include "base/propertykeys.h"
#include "demo/kit.h"
#include "pki/pfxpassword.h"
#include "tools/commands/command_line.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct InitOptions {
  std::string folder;
  bool demo = false;
};

// Template: builds the text of a property file; a setting without a value is left for the user to fill in.
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

// propertyText: for the demo's files when there are any.
std::string propertyText(const std::string& folder, const demo::Kit& kit) {
  const bool isDemo = !kit.pfx.empty();
  const std::string license = demo::randomHex(32);
  Template file;
  file.explain("The log, one file a day: level DEBUG, INFO, WARN, ERROR or OFF, folder and name"_m);
  file.set(keys::kLogLevel, "INFO");
  file.set(keys::kLogPath, folder);
  file.set(keys::kLogFile, "zepasign.log");
  file.explain("Digest: SHA256 or SHA1"_m);
  file.set(keys::kDigest, "SHA256");
  file.explain("Certificates in the signature: 0 none, 1 the signer's, 2 the signer's and its chain"_m);
  file.set(keys::kAddCert, "2");
  file.explain("Signing time as a signed attribute; the content inside the signature (FALSE: detached)"_m);
  file.set(keys::kAddTimestamp, "TRUE");
  file.set(keys::kAddPlainText, "TRUE");
  file.explain("The signer: PFX folder and file"_m);
  file.set(keys::kPfxPath, folder);
  file.set(keys::kPfxFile, "signer.pfx");
  file.explain("The key for the encrypted password, 64 hexadecimal digits; keep it secret"_m);
  file.set(keys::kLicense, license);
  file.explain(R"(The password: as "zepasign passwd --stored" prints it)"_m);
  file.set(keys::kPfxPasswordB64, isDemo ? encryptStoredPassword(license, demo::kPassword) : "");
  file.explain(R"(or, with this, as "zepasign passwd" prints it, given at each start)"_m);
  file.set(keys::kAuthKey, "");
  file.explain("Who may sign, for instance //S_CN=Chen,I_CN=Root CA// (subject S_, issuer I_; C, O, OU, CN)"_m);
  file.set(keys::kSignerFilter, isDemo ? "//S_CN=demo signer//" : "");
  file.explain("CA chains, P7B0 to P7B9: folder, then file and subject key identifier of the issuing CA"_m);
  file.set(keys::kChainPath, isDemo ? folder : "");
  file.set(keys::chainName(keys::chainTitle(0)), isDemo ? "chain.p7b" : "");
  file.set(keys::chainSki(keys::chainTitle(0)), kit.ski);
  file.explain("CRLs of a chain, crlFile0 to crlFile4"_m);
  file.set(keys::kCrlPath, isDemo ? folder : "");
  file.set(keys::crlFile(keys::chainTitle(0), keys::crlTitle(0)), isDemo ? "ca.crl" : "");
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

int runInit(const InitOptions& options) {
  const auto pathOf = [&options](const char* name) { return options.folder + "/" + name; };
  if (const std::string path = firstThatExists(options.folder, options.demo); !path.empty()) {
    printError(tr("{0}: exists already"_m, {fromTerminal(path)}));
    return kFailed;
  }
  const std::string properties = pathOf("app.properties");
  const demo::Kit kit = options.demo ? demo::makeKit() : demo::Kit();
  bool written = platform::createFolder(options.folder.c_str());
  if (options.demo) {
    written = written && writeFile(pathOf("signer.pfx"), kit.pfx, true) && writeFile(pathOf("chain.p7b"), kit.chain) &&
              writeFile(pathOf("ca.crl"), kit.crl) && writeFile(pathOf("ca.pem"), kit.ca);
  }
  if (!written || !writeFile(properties, propertyText(absolute(options.folder), kit), true)) {
    printError(tr("{0}: cannot be written"_m, {fromTerminal(options.folder)}));
    return kFailed;
  }
  printLine(tr("{0} is written; zepasign check -c tells what is still missing in it"_m, {fromTerminal(properties)}));
  if (options.demo) printLine(tr("The password of the demo's PFX is {0}"_m, {demo::kPassword}));
  return kOk;
}

}  // namespace

void addInit(CommandLine& line) {
  const auto options = std::make_shared<InitOptions>();
  CLI::App* command =
      line.add("init", "write a property file to begin with"_m, [options] { return runInit(*options); });
  command->add_option(helpText("DIR"_m), options->folder, helpText("folder for it"_m))->required();
  command->add_flag("--demo", options->demo, helpText("with a throwaway CA, signer, PFX, chain and CRL"_m));
  addExamples(command, {{"a commented property file to fill in"_m, "zepasign init settings"},
                        {"a throwaway signer to try the library with"_m, "zepasign init --demo demo"}});
}

}  // namespace zepasign::tools
