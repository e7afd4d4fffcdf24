// zepasign init: a property file to begin with: empty, for a throwaway demo, or for the user's own PFX.
#include <cerrno>

#include "base/cleanse.h"
#include "base/platform.h"
#include "demo/containers.h"
#include "demo/kit.h"
#include "pki/cx509.h"
#include "pki/pfxpassword.h"
#include "tools/commands/command_line.h"
#include "tools/files/cryptofile.h"
#include "tools/files/propertytemplate.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

constexpr const char* kPropertyFile = "app.properties";
constexpr const char* kChainFile = "chain.p7b";
constexpr std::size_t kLicenseBytes = 32;  // the key of AES-256

struct InitOptions {
  std::string directory;
  std::string pfx;
  std::string authorities;
  bool demo = false;
};

int refuse(const Message& why, const std::string& path) {
  printError(tr(why, {fromTerminal(path)}));
  return kFailed;
}

// absolute: so that the settings hold wherever the program is started.
std::string absolute(const std::string& directory) {
  if (directory.empty()) return platform::currentDirectory();
  return isAbsolute(directory) ? directory : platform::currentDirectory() + platform::kDirectorySeparator + directory;
}

// directoryOf: the path up to its last separator, without it.
std::string directoryOf(const std::string& path) {
  const std::string directory = path.substr(0, path.size() - fileNameOf(path).size());
  return directory.size() > 1 ? directory.substr(0, directory.size() - 1) : directory;
}

// exists: also when it may not be read.
bool exists(const std::string& path) {
  return platform::FilePtr(std::fopen(path.c_str(), "rb")) != nullptr || errno == EACCES;
}

// refuseExisting: whether one of the files is there already, which is then named; nothing is ever written over.
bool refuseExisting(const std::string& directory, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    const std::string path = directory + "/" + name;
    if (!exists(path)) continue;
    static_cast<void>(refuse("{0}: exists already"_m, path));
    return true;
  }
  return false;
}

// newSettings: a log directory of its own, since the account that signs writes there but not beside the key.
Settings newSettings(const std::string& directory) {
  Settings settings{};
  settings.logDirectory = absolute(directory) + platform::kDirectorySeparator + "log";
  settings.pfxDirectory = absolute(directory);
  settings.pfxFile = "signer.pfx";
  settings.license = demo::randomHex(kLicenseBytes);
  return settings;
}

// writeSettings: the property file, readable for its owner alone.
bool writeSettings(const InitOptions& options, const Settings& settings) {
  std::string text = propertyText(settings);
  const CleanseOnExit wipe(text);
  return writeFile(options.directory + "/" + kPropertyFile, text, true);
}

int initEmpty(const InitOptions& options) {
  if (refuseExisting(options.directory, {kPropertyFile})) return kFailed;
  const bool written =
      platform::createDirectory(options.directory.c_str()) && writeSettings(options, newSettings(options.directory));
  if (!written) return refuse("{0}: cannot be written"_m, options.directory);
  printLine(tr("{0} is written; run zepasign check -c to see what is still missing in it"_m,
               {fromTerminal(options.directory + "/" + kPropertyFile)}));
  return kOk;
}

int initDemo(const InitOptions& options) {
  if (refuseExisting(options.directory, {kPropertyFile, "signer.pfx", kChainFile, "ca.crl", "ca.pem"})) return kFailed;
  const auto pathOf = [&options](const char* name) { return options.directory + "/" + name; };
  const demo::Kit kit = demo::makeKit();
  Settings settings = newSettings(options.directory);
  settings.storedPassword = encryptStoredPassword(settings.license, demo::kPassword);
  settings.signerFilter = "//S_CN=demo signer//";
  settings.chainDirectory = settings.pfxDirectory;
  settings.chainFile = kChainFile;
  settings.chainKeyId = kit.ski;
  settings.crlFile = "ca.crl";
  const bool written = platform::createDirectory(options.directory.c_str()) &&
                       writeFile(pathOf("signer.pfx"), kit.pfx, true) && writeFile(pathOf(kChainFile), kit.chain) &&
                       writeFile(pathOf("ca.crl"), kit.crl) && writeFile(pathOf("ca.pem"), kit.ca) &&
                       writeSettings(options, settings);
  if (!written) return refuse("{0}: cannot be written"_m, options.directory);
  printLine(tr("{0} is written; run zepasign check -c to see what is still missing in it"_m,
               {fromTerminal(pathOf(kPropertyFile))}));
  printLine(tr("The password of the demo's PFX is {0}"_m, {demo::kPassword}));
  return kOk;
}

// addCertificate: each certificate once.
void addCertificate(X509* certificate, std::vector<demo::Certificate>& chain) {
  for (const demo::Certificate& each : chain) {
    if (X509_cmp(each.get(), certificate) == 0) return;
  }
  if (X509_up_ref(certificate) == 1) chain.emplace_back(certificate, X509_free);
}

void addCertificates(const STACK_OF(X509) * certificates, std::vector<demo::Certificate>& chain) {
  for (int i = 0; i < sk_X509_num(certificates); ++i) addCertificate(sk_X509_value(certificates, i), chain);
}

// obtainPfx: opens the user's PFX with the password that is asked for. An ExitCode, an error message printed unless it
// is kOk.
int obtainPfx(const std::string& path, std::string& password, PfxContent& content) {
  CryptoFile file;
  if (!readCryptoFile(path, file)) return refuse("{0}: cannot be read"_m, path);
  if (!file.pfx || !file.isDer) return refuse("{0} is not a PFX in DER form (1102)"_m, path);
  if (!readSecret(tr("PFX password of {0}"_m, {fromTerminal(path)}), password)) {
    printError(tr("no password was given"_m));
    return kFailed;
  }
  if (!openPfx(file.pfx.get(), password, content)) {
    return refuse("the password does not open {0}, or the file is damaged (5208)"_m, path);
  }
  const bool isWhole = content.key != nullptr && content.certificate != nullptr;
  return isWhole ? kOk : refuse("{0} holds no private key, or no certificate for it (5208)"_m, path);
}

// obtainChain: the CA certificates of the PFX, and those of --ca.
int obtainChain(const InitOptions& options, const PfxContent& content, std::vector<demo::Certificate>& chain) {
  addCertificates(content.others.get(), chain);
  if (options.authorities.empty()) return kOk;
  CryptoFile file;
  if (!readCryptoFile(options.authorities, file)) return refuse("{0}: cannot be read"_m, options.authorities);
  for (const X509Ptr& each : file.certificates) addCertificate(each.get(), chain);
  if (file.pkcs7) addCertificates(certificatesOf(file.pkcs7.get()), chain);
  return chain.empty() ? refuse("{0}: no certificate found"_m, options.authorities) : kOk;
}

// runCheck: "zepasign check" on the new file.
int runCheck(const std::string& propertyFile) {
  CommandLine line;
  addCheck(line);
  std::string program = "zepasign";
  std::string command = "check";
  std::string option = "-c";
  std::string file = propertyFile;
  char* arguments[] = {program.data(), command.data(), option.data(), file.data(), nullptr};
  const int result = line.parse(4, arguments);
  return result == kOk ? line.run() : result;
}

// writeChain: chain.p7b with these certificates, and its settings; true without any.
bool writeChain(const InitOptions& options, const PfxContent& content, const std::vector<demo::Certificate>& chain,
                Settings& settings) {
  if (chain.empty()) return true;
  settings.chainDirectory = absolute(options.directory);
  settings.chainFile = kChainFile;
  settings.chainKeyId = cX509(content.certificate.get()).getAuthorityKeyId();
  return writeFile(options.directory + "/" + kChainFile, demo::makeP7b(chain));
}

int initPfx(const InitOptions& options) {
  const std::string propertyFile = options.directory + "/" + kPropertyFile;
  if (refuseExisting(options.directory, {kPropertyFile, kChainFile})) return kFailed;
  std::string password;
  const CleanseOnExit wipe(password);
  PfxContent content;
  std::vector<demo::Certificate> chain;
  if (const int result = obtainPfx(options.pfx, password, content); result != kOk) return result;
  if (const int result = obtainChain(options, content, chain); result != kOk) return result;
  Settings settings = newSettings(options.directory);
  settings.pfxDirectory = absolute(directoryOf(options.pfx));
  settings.pfxFile = fileNameOf(options.pfx);
  settings.storedPassword = encryptStoredPassword(settings.license, password);
  const bool written = platform::createDirectory(options.directory.c_str()) &&
                       writeChain(options, content, chain, settings) && writeSettings(options, settings);
  if (!written) return refuse("{0}: cannot be written"_m, options.directory);
  printLine(tr("{0} is written; the result of zepasign check:"_m, {fromTerminal(propertyFile)}));
  return runCheck(propertyFile);
}

int runInit(const InitOptions& options) {
  if (options.demo) return initDemo(options);
  return options.pfx.empty() ? initEmpty(options) : initPfx(options);
}

}  // namespace

void addInit(CommandLine& line) {
  const auto options = std::make_shared<InitOptions>();
  const Command command = line.add("init", "write a first property file"_m, [options] { return runInit(*options); });
  command.add(helpText("DIR"_m), options->directory, "directory for the file"_m).required();
  const Option demo = command.add("--demo", options->demo, "with a throwaway CA, signer, PFX, chain and CRL"_m);
  const Option pfx = command.add("--pfx", options->pfx, "for this PFX; asks for its password"_m).excludes(demo);
  command.add("--ca", options->authorities, "the CA certificates of the PFX's signer"_m).needs(pfx);
  command.addExamples({{"for your own PFX, ready to sign"_m, "zepasign init settings --pfx signer.pfx --ca ca.p7b"},
                       {"a commented property file to fill in"_m, "zepasign init settings"},
                       {"a throwaway signer to try the library with"_m, "zepasign init --demo demo"}});
}

}  // namespace zepasign::tools
