#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Queries = SignerTest;

TEST_F(Queries, TellTheCertificateOfTheLastSuccessfulSignature) {
  CertSpec spec = signerSpec(stage.ca);
  spec.serial = "0A1B2C";
  spec.notBefore = "200229235959Z";
  const Identity first = makeIdentity(spec);
  folder.write("signer.pfx", makePfx({.identity = first}));
  const auto answers = [] {
    Lines texts;
    for (auto* query : {GetSignerCertSubject, GetSignerCertIssuer, GetSignerCertNotBefore, GetSignerCertNotAfter,
                        GetSignerCertSerial, GetSignerCertSubjectCN, GetSignerCertFinger, GetSignerCertB64}) {
      const char* text = query();
      texts.emplace_back(text == nullptr ? "null" : text);
    }
    return texts;
  };
  ASSERT_TRUE(initialise());
  EXPECT_EQ(answers(), Lines(8, "null")) << "a credential is not yet a signature";
  ASSERT_EQ(sign("x"), 0);
  const Lines told = answers();
  EXPECT_EQ(Lines(told.begin(), told.begin() + 6),
            Lines({"/C=TW/O=Zepa Test/CN=Test Signer", "/C=TW/O=Zepa Test/CN=Test CA", "20200301075959",
                   "21000101075959", "0A1B2C", ""}));
  EXPECT_EQ(told[6], cX509(first.certificate.get()).getFingerprint());
  EXPECT_EQ(base64Decode(told[7]), derOf(first.certificate));
  folder.write("signer.pfx", makePfx({.identity = stage.signer}));
  ASSERT_TRUE(initialise());
  EXPECT_EQ(sign(""), 5005);
  EXPECT_EQ(answers(), told) << "the new credential has not signed yet";
  ASSERT_EQ(sign("x"), 0);
  EXPECT_NE(answers(), told);
}

TEST_F(Queries, TheErrorCodeAndItsMessage) {
  EXPECT_STREQ(GetPkiVersion(), "2.0.1.2");
  EXPECT_EQ(GetErrorMsg(), big5("成功(0)"));
  EXPECT_EQ(sign("x"), 5204);
  EXPECT_EQ(GetSignerCertSubject(), nullptr);
  EXPECT_EQ(GetErrorMsg(), big5("錯誤碼未定義(5204)"));
  EXPECT_EQ(GetErrorCode(), 5204);
}

}  // namespace zepasign::testing
