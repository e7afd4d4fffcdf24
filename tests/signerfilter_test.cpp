#include "tests/support/signer_test.h"

namespace zepasign::testing {

using SignerFilter = SignerTest;

TEST_F(SignerFilter, TruthTableAndLog) {
  const Name subject = {{"C", "TW"}, {"O", "Zepa"}, {"OU", "A"}, {"OU", "B"}, {"CN", "XABCY"}};
  cPkcs12 credential;
  EXPECT_EQ(credential.checkSignerFilter(nullptr), 5010);  // no certificate, not even for no filter
  ASSERT_EQ(load(credential, {.identity = makeIdentity({.subject = subject, .issuer = fixture.ca})}), 0);
  for (const char* filter : {"", "////", "//S_CN=ABC//", "//S_CN=ABC,S_CN=other//", "//I_CN=Test CA//",
                             "//S_C=TW,I_C=TW,S_O=Zepa,I_O=Zepa Test//", "//S_OU=B,S_OU=A//", "//S_CN=no//S_CN=Y//",
                             "S_CN=no//X_CN=unknown//S_CN=no"}) {
    EXPECT_EQ(credential.checkSignerFilter(filter), 0) << filter;
  }
  taken();
  for (const std::string item : {"S_CN=abc", "S_CN=XABCYZ", "I_CN=Test", "S_C=T", "I_C=TWN", "S_O=Zep", "I_O=Zepa",
                                 "S_OU=C", "S_OU=AB", "I_OU=A"}) {
    const std::string error = item.substr(0, item.find('=')) + ") = " + item.substr(item.find('=') + 1);
    gives(credential.checkSignerFilter(("//S_OU=A," + item + "//").c_str()), 5010, "找不到憑證條件(" + error + "\n");
  }
  gives(credential.checkSignerFilter("S_CN=ABC"), 5010);  // no marks, no alternative
  gives(credential.checkSignerFilter("//S_CN=ABC"), 5010);
  gives(credential.checkSignerFilter("//S_OU=B,I_CN=Test CA//") + credential.checkSignerFilter(nullptr), 0);
  EXPECT_EQ(credential.checkSignerFilter("//I_CN=Test CA//"), 0);
  EXPECT_EQ(taken("PARAM "), big5("signerFilter = //I_CN=Test CA//\n絛件 filter = I_CN=Test CA\n憑證主旨 subject = "
                                  "/C=TW/O=Zepa/OU=A/OU=B/CN=XABCY\n絛件 filter = I_CN=Test CA\n"
                                  "憑證主旨 subject = /C=TW/O=Zepa Test/CN=Test CA\n"));
}

}  // namespace zepasign::testing
