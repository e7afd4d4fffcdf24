#include <ctime>

#include "pki/ccrlfileentry.h"
#include "tests/support/command.h"
#include "tests/support/signer_test.h"

namespace zepasign::testing {

using SignPosix = SignerTest;

TEST_F(SignPosix, TheOpensslCommandVerifiesEveryChoiceOfOptions) {
  addChain();
  const std::string content = "line\r\nline\n";
  const Lines ders = {derOf(stage.signer.certificate), derOf(stage.ca.certificate), derOf(stage.root.certificate)};
  for (unsigned choice = 0; choice < 24; ++choice) {
    const bool attributes = (choice & 2U) != 0, embedded = (choice & 4U) != 0;
    const int addCert = choice < 8 ? -1 : choice < 16 ? 1 : 2;
    stage.properties["PKCS7.digest"] = (choice & 1U) != 0 ? "SHA256" : "SHA1";
    stage.properties["PKCS7.addCert"] = std::to_string(addCert);
    stage.properties["PKCS7.addTimestamp"] = attributes ? "true" : "false";
    stage.properties["PKCS7.addPlainText"] = embedded ? "true" : "false";
    ASSERT_TRUE(initialise());
    ASSERT_EQ(sign(content), 0);
    const SignatureFacts facts = factsOf(signature());
    EXPECT_EQ(facts.digest, stage.properties["PKCS7.digest"]);
    EXPECT_TRUE(facts.detached != embedded && facts.attributes.size() == (attributes ? 3 : 0)) << choice;
    EXPECT_EQ(facts.certificates, Lines(ders.begin(), ders.begin() + (addCert < 0 ? 0 : 2 * addCert - 1)));
    for (const char* tool : {"cms", "smime"}) {
      Question question = {.signature = signature(), .trusted = {stage.root.certificate}, .tool = tool};
      if (addCert < 2) question.trusted.push_back(stage.ca.certificate);
      if (addCert < 1) question.signer = stage.signer.certificate;
      if (!embedded) question.content = content;
      const Verdict verdict = verify(question);
      EXPECT_TRUE(verdict.good && verdict.content == content) << choice << ' ' << tool << '\n' << verdict.output;
    }
  }
}

// The dates of certificates and CRLs are UTC+8; what they are compared with is the machine's own wall clock.
TEST_F(SignPosix, LocalTimeDecidesWhatIsValidNow) {
  const Owned<ASN1_TIME_free, ASN1_TIME> time(ASN1_TIME_adj(nullptr, std::time(nullptr), 0, -4 * 3600L));
  const std::string fourHoursAgo(time->data, time->data + time->length);
  folder.write("old.crl", makeCrl({.issuer = stage.ca, .nextUpdate = "20" + fourHoursAgo}));
  for (const auto& [zone, fresh, old] : {std::tuple{"UTC0", 5012, 0}, {"CST-8", 0, 5011}}) {
    setenv("TZ", zone, 1);
    tzset();
    cPkcs12 credential;
    cCrlFileEntry crl("crlFile0", folder.path(), "old.crl");
    EXPECT_EQ(load(credential, {.identity = makeIdentity({.notBefore = fourHoursAgo})}), 0);
    EXPECT_EQ(credential.checkCertValid(), fresh) << zone;
    EXPECT_EQ(load(credential, {.identity = makeIdentity({.notAfter = fourHoursAgo})}), 0);
    EXPECT_EQ(credential.checkCertValid(), old) << zone;
    EXPECT_EQ(crl.loadCrl() && crl.isExpired(), old != 0) << zone;
  }
}

}  // namespace zepasign::testing
