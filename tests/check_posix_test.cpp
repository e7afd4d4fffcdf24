// zepasign check: every mistake that operators make is named with its key, its line and what corrects it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "pki/cx509.h"
#include "tests/support/pki.h"
#include "tests/support/tool_test.h"

namespace zepasign::testing {
namespace {

// Configuration: one without a mistake.
struct Configuration : Fixture {
  Configuration() {
    addChain();
    properties.merge(Properties{{"PKCS7.addTimestamp", "TRUE"}, {"PFX.pswdB64", kStoredPassword}});
    properties["LOG.level"] = "INFO";
    properties["LOG.path"] = directory.path("log");
    properties["PKCS7.addCert"] = "2";
    properties.erase("PFX.pswd");
    chmod(directory.path("signer.pfx").c_str(), 0600);
  }
  // file: the property file with its permissions; `text` instead of the properties when it is not empty.
  std::string file() const {
    std::string path = directory.write("app.properties", text.empty() ? propertyText(properties) : text);
    chmod(path.c_str(), 0600);
    return path;
  }
  CommandResult check(const std::string& options = "", const std::string& before = "LC_ALL=C") const {
    return runCommand(before + " " ZEPASIGN_TOOL " check -c " + file() + " " + options + " </dev/null");
  }
  Json report(const std::string& options = "") const { return Json::parse(check("--json " + options).output); }
  // pfx: replaces the PFX by one of this plan.
  void pfx(const PfxPlan& plan) {
    directory.write("signer.pfx", makePfx(plan));
    chmod(directory.path("signer.pfx").c_str(), 0600);
  }

  std::string text = {};
};

using Deed = std::function<void(Configuration&)>;

Deed set(const std::string& key, const std::string& value) {
  return [=](Configuration& files) { files.properties[key] = value; };
}
Deed unset(const std::string& key) {
  return [=](Configuration& files) { files.properties.erase(key); };
}
// shell: does something in the directory.
Deed shell(const std::string& command) {
  return [=](Configuration& files) {
    const CommandResult result = runCommand("cd " + files.directory.path() + " && " + command);
    EXPECT_EQ(result.exitCode, 0) << command << result.output;
  };
}
// text: replaces in the property file's text.
Deed text(const std::string& from, const std::string& to) {
  return [=](Configuration& files) {
    files.text = propertyText(files.properties);
    files.text.replace(files.text.find(from), from.size(), to);
  };
}
// signer: a PFX with the signer of a changed plan.
Deed signer(const std::function<void(CertPlan&)>& change) {
  return [=](Configuration& files) {
    CertPlan plan = signerPlan(files.ca);
    change(plan);
    files.pfx({.identity = makeIdentity(plan)});
  };
}
Key newKey(const char* type, int bits = 0) {
  return {bits == 0 ? EVP_PKEY_Q_keygen(nullptr, nullptr, type)
                    : EVP_PKEY_Q_keygen(nullptr, nullptr, type, static_cast<std::size_t>(bits)),
          EVP_PKEY_free};
}

// lineOf: the number of the line that begins so, 0 when there is none.
int lineOf(const std::string& file, const std::string& start) {
  std::istringstream lines(readFile(file));
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    if (line.starts_with(start)) return number;
  }
  return 0;
}

struct Mistake {
  const char* id;
  const char* key;
  const char* remedy;  // in the message or in the command
  Deed deed;
};

const Mistake kMistakes[] = {
    {"file-utf16", "", "iconv -f UTF-16", text("CRL", "\xFF\xFE")},
    {"file-utf16", "", "iconv -f UTF-16", text("CRL", {"C\0", 2})},
    {"byte-order-mark", "CRL.path", "sed -i",
     text("CRL",
          "\xEF\xBB\xBF"
          "CRL")},
    {"byte-order-mark", "", "sed -i", text("CRL", "\xEF\xBB\xBF# a comment\nCRL")},
    {"line-too-long", "", "shorten", set("LOG.file", std::string(600, 'x'))},
    {"line-without-equals", "", "# before a comment", text("CRL.path =", "CRL.path")},
    {"key-misspelt", "PKCS7.addcert", "PKCS7.addCert", text("addCert", "addcert")},
    {"key-repeated", "CRL.path", "line 2", text("CRL", "CRL.path = /\nCRL")},
    {"path-relative", "CRL.path", "absolute path", set("CRL.path", "crls")},
    {"path-backslash", "LOG.path", "write /", set("LOG.path", "C:\\logs")},
    {"permissions-open", "PFX.file", "chmod 600", shell("chmod 666 signer.pfx")},
    {"log-level-missing", "LOG.level", "set INFO", unset("LOG.level")},
    {"log-level-unknown", "LOG.level", "set INFO", set("LOG.level", "TRACE")},
    {"log-level-debug", "LOG.level", "set INFO", set("LOG.level", "DEBUG")},
    {"log-level-quiet", "LOG.level", "set INFO", set("LOG.level", "warn")},
    {"log-level-quiet", "LOG.level", "set INFO", set("LOG.level", "OFF")},
    {"log-unwritable", "LOG.path", "namei -l", set("LOG.path", "/dev/null/log")},
    {"digest-wrong", "PKCS7.digest", "SHA256", set("PKCS7.digest", "sha256")},
    {"certificates-invalid", "PKCS7.addCert", "set 0, 1 or 2", set("PKCS7.addCert", "x")},
    {"certificates-trailing", "PKCS7.addCert", "only the number", set("PKCS7.addCert", "2x")},
    {"license-missing", "PSWD.license", "openssl rand -hex 32", unset("PSWD.license")},
    {"license-short", "PSWD.license", "openssl rand -hex 32", set("PSWD.license", "AB")},
    {"license-not-hex", "PSWD.license", "openssl rand -hex 32", set("PSWD.license", std::string(64, 'Z'))},
    {"license-long", "PSWD.license", "64", set("PSWD.license", std::string(128, 'A'))},
    {"password-missing", "PFX.pswdB64", "passwd --stored", unset("PFX.pswdB64")},
    {"password-stored-wrong", "PFX.pswdB64", "passwd --stored", set("PFX.pswdB64", "AAAA")},
    {"password-not-given", "PSWD.authKey", "--enced-file", set("PSWD.authKey", "key")},
    {"pfx-password-wrong", "PFX.file", "openssl pkcs12 -in", set("PFX.pswd", "wrong")},
    {"pfx-missing", "PFX.file", "PFX.path or PFX.file", set("PFX.file", "none.pfx")},
    {"pfx-is-pem", "PFX.file", "openssl pkcs12 -export",
     shell("openssl pkcs12 -in signer.pfx -passin pass:pfx-password -nodes -out p && mv p signer.pfx")},
    {"pfx-is-base64", "PFX.file", "base64 -d", shell("base64 signer.pfx > b && mv b signer.pfx")},
    {"pfx-is-other", "PFX.file", "openssl pkcs12 -export", shell("head -c 100 signer.pfx > b && mv b signer.pfx")},
    {"pfx-without-mac", "PFX.file", "export",
     [](Configuration& files) { files.pfx({.identity = files.signer, .form = PfxForm::withoutMac}); }},
    {"pfx-without-key", "PFX.file", "openssl pkcs12 -export",
     [](Configuration& files) {
       files.pfx({.identity = {{}, files.signer.certificate}});
     }},
    {"key-weak", "PFX.file", "RSA 2048", signer([](CertPlan& plan) { plan.key = newKey("RSA", 512); })},
    {"key-unsupported", "PFX.file", "RSA and EC", signer([](CertPlan& plan) { plan.key = newKey("ED448"); })},
    {"signer-expired", "PFX.file", "expired", signer([](CertPlan& plan) { plan.notAfter = "20210101000000Z"; })},
    {"signer-not-yet-valid", "PFX.file", "yet", signer([](CertPlan& plan) { plan.notBefore = "20980101000000Z"; })},
    {"signer-key-usage", "PFX.file", "usage", signer([](CertPlan& plan) { plan.keyUsage = "keyAgreement"; })},
    {"filter-without-conditions", "PFX.signerFilter", "//", set("PFX.signerFilter", "//S_CN=Test Signer")},
    {"filter-unclosed", "PFX.signerFilter", "both sides", set("PFX.signerFilter", "//S_C=TW//S_CN=Chen")},
    {"filter-unknown-condition", "PFX.signerFilter", "write S_ or I_", set("PFX.signerFilter", "//CN=Chen//")},
    {"filter-unknown-condition", "PFX.signerFilter", "write S_ or I_", set("PFX.signerFilter", "////")},
    {"filter-unknown-condition", "PFX.signerFilter", "write S_ or I_", set("PFX.signerFilter", "//S_CN=//")},
    {"filter-refuses", "PFX.signerFilter", "/CN=Test Signer", set("PFX.signerFilter", "//S_CN=Chen//")},
    {"chain-folder-missing", "P7B.path", "does not exist", set("P7B.path", "/nowhere")},
    {"chain-missing", "P7B0.name", "ls ", set("P7B0.name", "other.p7b")},
    {"chain-name-extension", "P7B0.name", ".p7b", set("P7B0.name", "chain.p7")},
    {"chain-is-pem", "P7B0.name", "-outform DER",
     shell("openssl pkcs7 -inform DER -in chain.p7b -out p && mv p chain.p7b")},
    {"chain-is-certificate", "P7B0.name", "crl2pkcs7",
     [](Configuration& files) { files.directory.write("chain.p7b", derOf(files.ca.certificate)); }},
    {"chain-without-root", "P7B0.name", "add the root",
     [](Configuration& files) { files.directory.write("chain.p7b", makeP7b({files.ca.certificate})); }},
    {"chain-other-ski", "P7B0.SKI", "they have", [](Configuration& files) { files.properties["P7B0.SKI"][0] = 'a'; }},
    {"crl-missing", "P7B0.crlFile0", "CRL.path or the name", set("P7B0.crlFile0", "none.crl")},
    {"crl-is-pem", "P7B0.crlFile0", "-outform DER", shell("openssl crl -inform DER -in ca.crl -out p && mv p ca.crl")},
    {"crl-expired", "P7B0.crlFile0", "fetch a new one",
     [](Configuration& files) {
       files.directory.write("ca.crl", makeCrl({.issuer = files.ca, .nextUpdate = "20210101000000Z"}));
     }},
    {"crl-foreign", "P7B0.crlFile0", "openssl crl -in",
     [](Configuration& files) { files.directory.write("ca.crl", makeCrl({.issuer = files.signer})); }},
    {"signer-revoked", "P7B0.crlFile0", "revoked",
     [](Configuration& files) {
       const cX509 fields(files.signer.certificate.get());
       files.directory.write("ca.crl", makeCrl({.issuer = files.ca, .serials = {fields.getSerial()}}));
     }},
    {"pfx-hides-chain", "PFX.file", "-clcerts",
     [](Configuration& files) { files.pfx({.identity = files.signer, .caCertificates = {files.root.certificate}}); }},
    {"signature-without-chain", "PKCS7.addCert", "key identifier", unset("P7B0.name")},
};

TEST(Check, NamesEachMistakeWithKeyLineAndRemedy) {
  for (const Mistake& mistake : kMistakes) {
    Configuration files;
    mistake.deed(files);
    const Json report = files.report();
    Json found;
    for (const Json& each : report["findings"]) {
      if (each["id"] == mistake.id) found = each;
    }
    ASSERT_FALSE(found.is_null()) << mistake.id << report.dump(1);
    EXPECT_EQ(found["key"], mistake.key) << mistake.id;
    const std::string words = found["message"].get<std::string>() + found.value("command", "");
    EXPECT_NE(words.find(mistake.remedy), std::string::npos) << words;
    if (*mistake.key != '\0' && found["line"] != 1) {
      EXPECT_EQ(found["line"], lineOf(files.file(), std::string(mistake.key) + " =")) << mistake.id;
    }
  }
  EXPECT_FALSE(std::filesystem::exists("C:\\logs"));
}

TEST(Check, FindsNothingWrongWhereNothingIs) {
  const Configuration files;
  const Json report = files.report("--strict");
  for (const Json& each : report["findings"]) EXPECT_EQ(each["level"], "good") << each.dump(1);
  EXPECT_EQ(report["certificates"].size(), 3U);
  EXPECT_EQ(files.check("--strict").exitCode, 0);
}

TEST(Check, TellsByItsExitCodeHowFarTheLibraryGets) {
  Configuration files;
  set("PFX.signerFilter", "//S_CN=Chen//")(files);
  EXPECT_EQ(files.check().exitCode, 1) << "initialises, but does not sign";
  unset("PSWD.license")(files);
  EXPECT_EQ(files.check().exitCode, 3);
}

TEST(Check, CountsDaysAndFailsWhenToldTo) {
  Configuration files;
  signer([](CertPlan& plan) {
    const std::time_t later = std::time(nullptr) + 20 * 86400L + 3600;
    char text[20];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", std::gmtime(&later));
    plan.notAfter = text;
  })(files);
  const Json soon = files.report()["findings"][0];
  EXPECT_EQ(soon["id"], "signer-expires-soon");
  EXPECT_EQ(soon["days"], 20);
  EXPECT_EQ(files.check().exitCode, 0);
  EXPECT_EQ(files.check("--strict").exitCode, 1);
  EXPECT_EQ(files.check("--strict --warn-days 10").exitCode, 0);
  EXPECT_NE(files.check("", "LC_ALL=zh_TW.UTF-8").output.find("將於 20 天後到期"), std::string::npos);
}

// The trial run makes log directories and files; made by root, they would take the log away from the host's account.
TEST(Check, LeavesNothingBehind) {
  constexpr uid_t kHost = 65534;
  Configuration files;
  files.properties["LOG.path"] = files.directory.path("log/deep");
  EXPECT_EQ(files.check("--strict").exitCode, 0);
  EXPECT_FALSE(std::filesystem::exists(files.directory.path("log")));
  std::filesystem::create_directories(files.directory.path("log/deep"));
  EXPECT_EQ(files.check("--strict").exitCode, 0);
  EXPECT_TRUE(std::filesystem::is_empty(files.directory.path("log/deep")));
  if (geteuid() != 0) GTEST_SKIP() << "the rest needs root";
  EXPECT_EQ(chown(files.directory.path("log/deep").c_str(), kHost, kHost), 0);
  const Json first = files.report()["findings"][0];
  EXPECT_EQ(first["id"], "account-differs");
  EXPECT_TRUE(first["command"].get<std::string>().starts_with("sudo -u ")) << first["command"];
  EXPECT_TRUE(std::filesystem::is_empty(files.directory.path("log/deep")));
}

}  // namespace
}  // namespace zepasign::testing
