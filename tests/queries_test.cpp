#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Queries = SignerTest;

static Lines answers() {
  Lines texts;
  for (auto* query : {GetSignerCertSubject, GetSignerCertIssuer, GetSignerCertNotBefore, GetSignerCertNotAfter,
                      GetSignerCertSerial, GetSignerCertSubjectCN, GetSignerCertFinger, GetSignerCertB64}) {
    const char* text = query();
    texts.emplace_back(text == nullptr ? "null" : text);
  }
  return texts;
}

TEST_F(Queries, TellTheLastCodeAndTheCertificateOfTheLastSuccessfulSignature) {
  CertPlan plan = signerPlan(fixture.ca);
  plan.serial = "0A1B2C";
  plan.notBefore = "200229235959Z";
  const std::string der = derOf((fixture.signer = makeIdentity(plan)).certificate);
  directory.write("signer.pfx", makePfx({.identity = fixture.signer}));
  ASSERT_TRUE(initialise());
  EXPECT_EQ(answers(), Lines(8, "null")) << "a credential is not yet a signature";
  ASSERT_EQ(sign("x"), 0);
  unsigned char digest[20];
  char finger[41];
  EXPECT_EQ(EVP_Q_digest(nullptr, "SHA1", nullptr, der.data(), der.size(), digest, nullptr), 1);
  EXPECT_EQ(OPENSSL_buf2hexstr_ex(finger, sizeof finger, nullptr, digest, sizeof digest, '\0'), 1);
  Lines told = answers();
  const Lines expected = {"/C=TW/O=Zepa Test/CN=Test Signer",
                          "/C=TW/O=Zepa Test/CN=Test CA",
                          "20200301075959",
                          "21000101075959",
                          "0A1B2C",
                          "",
                          finger,
                          told[7]};
  EXPECT_EQ(told, expected);
  EXPECT_EQ(base64Decode(told[7]), der);
  EXPECT_EQ(GetErrorMsg(), big5("成功(0)"));
  directory.write("signer.pfx", makePfx({.identity = makeIdentity(plan)}));
  ASSERT_TRUE(initialise());
  EXPECT_EQ(sign(""), 5005);
  EXPECT_EQ(answers(), told) << "the new credential has not signed yet";
  EXPECT_EQ(GetErrorMsg(), big5("錯誤的參數(5005)"));
  ASSERT_EQ(sign("x"), 0);
  EXPECT_NE(answers(), told);
}

}  // namespace zepasign::testing
