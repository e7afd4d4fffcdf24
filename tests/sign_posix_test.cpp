#include <ctime>

#include "pki/ccrlfileentry.h"
#include "tests/support/command.h"
#include "tests/support/signer_test.h"

namespace zepasign::testing {

using SignPosix = SignerTest;

TEST_F(SignPosix, TheOpensslCommandVerifiesEveryChoiceOfOptions) {
  fixture.addChain();
  const std::string content = directory.write("content", "line\r\nline\n"), here = "cd '" + directory.path() + "' && ";
  const Identity signers[] = {fixture.signer, makeIdentity({.issuer = fixture.ca})};  // an RSA and an EC key
  directory.write("ca.pem", pemOf("CERTIFICATE", derOf(fixture.root.certificate)) +
                                pemOf("CERTIFICATE", derOf(fixture.ca.certificate)));
  for (unsigned choice = 0; choice < 48; ++choice) {
    const bool attributes = (choice & 2U) != 0, embedded = (choice & 4U) != 0;
    const int addCert = static_cast<int>(choice / 8 % 3);
    const Identity& signer = signers[choice / 24];
    const Lines ders = {derOf(signer.certificate), derOf(fixture.ca.certificate), derOf(fixture.root.certificate)};
    directory.write("signer.pfx", makePfx({.identity = signer}));
    directory.write("signer.pem", pemOf("CERTIFICATE", ders[0]));
    fixture.properties["PKCS7.digest"] = (choice & 1U) != 0 ? "SHA256" : "SHA1";
    fixture.properties["PKCS7.addCert"] = std::to_string(addCert == 0 ? -1 : addCert);
    fixture.properties["PKCS7.addTimestamp"] = attributes ? "true" : "false";
    fixture.properties["PKCS7.addPlainText"] = embedded ? "true" : "false";
    ASSERT_TRUE(initialise());
    ASSERT_EQ(SignPkcs7File(content.c_str()), 0);
    const SignatureFacts facts = factsOf(signature());
    EXPECT_EQ(facts.digest, fixture.properties["PKCS7.digest"]);
    EXPECT_EQ(facts.detached, !embedded) << choice;
    EXPECT_EQ(facts.attributes.size(), attributes ? 3U : 0U) << choice;
    EXPECT_EQ(facts.certificates, Lines(ders.begin(), ders.begin() + (addCert == 0 ? 0 : 2 * addCert - 1)));
    directory.write("signature", signature());
    const CommandResult result = runCommand(
        here +
        "openssl cms -verify -binary -purpose any -inform DER -in signature -CAfile ca.pem -certfile signer.pem" +
        (embedded ? "" : " -content content") + " -out found && cmp found content");
    EXPECT_EQ(result.exitCode, 0) << choice << '\n' << result.output;
  }
}

// localNow: the machine's local time as a log line begins, by the clock that the log reads; std::time reads a coarser
// one.
static std::string localNow() {
  std::timespec now{};
  char text[32] = "";
  std::timespec_get(&now, TIME_UTC);
  std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", std::localtime(&now.tv_sec));
  return text;
}

// The dates of certificates and CRLs are UTC+8; what they are compared with is the machine's own wall clock.
TEST_F(SignPosix, LocalTimeDecidesWhatIsValidNow) {
  const Owned<ASN1_TIME_free, ASN1_TIME> time(ASN1_TIME_adj(nullptr, std::time(nullptr), 0, -4 * 3600L));
  const std::string fourHoursAgo(time->data, time->data + time->length);
  directory.write("old.crl", makeCrl({.issuer = fixture.ca, .nextUpdate = "20" + fourHoursAgo}));
  for (const auto& [zone, fresh, old] : {std::tuple{"UTC0", 5012, 0}, {"CST-8", 0, 5011}}) {
    setenv("TZ", zone, 1);
    tzset();
    cPkcs12 credential;
    cCrlFileEntry crl("crlFile0", directory.path(), "old.crl");
    EXPECT_EQ(load(credential, {.identity = makeIdentity({.notBefore = fourHoursAgo})}), 0);
    EXPECT_EQ(credential.checkCertValid(), fresh) << zone;
    EXPECT_EQ(load(credential, {.identity = makeIdentity({.notAfter = fourHoursAgo})}), 0);
    EXPECT_EQ(credential.checkCertValid(), old) << zone;
    EXPECT_TRUE(crl.loadCrl());
    EXPECT_EQ(crl.isExpired(), old != 0) << zone;
    taken();
    const std::string before = localNow();
    logger.writeText("INFO", zone);
    const std::string after = localNow();
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
      if (entry.path().stem() != "app.log") continue;
      const std::string stamp = readFile(entry).substr(0, before.size());
      EXPECT_LE(before, stamp);
      EXPECT_LE(stamp, after);
    }
  }
}

}  // namespace zepasign::testing
