#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Initial = SignerTest;

TEST_F(Initial, EachFailureHasItsCodeAndItsLinesAndKeepsTheCredential) {
  fixture.addChain();
  ASSERT_TRUE(initialise());
  const Properties sound = fixture.properties;
  const std::string key = sound.at("PSWD.license"), odd(63, 'A'), tooLong(700, 'A');
  const auto fails = [&](const Properties& changes, const char* passwd, int code, const std::string& errors) {
    fixture.properties = changes;  // an empty value counts as a missing one
    fixture.properties.insert(sound.begin(), sound.end());
    EXPECT_FALSE(initialise(passwd));
    gives(GetErrorCode(), code, errors);
    EXPECT_EQ(sign("x"), 0);
  };
  const auto callersFails = [&](const std::string& license, const char* passwd, int code, const std::string& error) {
    fails({{"PSWD.authKey", "auth"}, {"PSWD.license", license}}, passwd, code, error);
  };
  const auto storedFails = [&](const std::string& license, const std::string& stored, const std::string& error) {
    fails({{"PFX.pswd", ""}, {"PFX.pswdB64", stored}, {"PSWD.license", license}}, kCallersPassword, 5005, error);
  };
  fails({{"a", tooLong}}, nullptr, 1202,
        "cProperty::parse() 行長度超過 511 字元, 行號 = 0x00000010(16)\nproperty 檔讀取失敗\n");
  fails({{"PKCS7.addCert", "abc"}}, nullptr, 5005, "invalid stoi argument\n");
  fails({{"PKCS7.addCert", "2147483648"}}, nullptr, 5005, "stoi argument out of range\n");
  fails({{"PSWD.license", ""}}, nullptr, 5005, "找不到 PSWD.license\n");
  callersFails(key, nullptr, 5005, "參數 encedPfxPasswd 內容錯誤!\n");
  callersFails(key, "", 5005, "參數 encedPfxPasswd 內容錯誤!\n");
  callersFails(key, "\n", 5005, "encedPfxPasswd 內容解碼(Base64)失敗\n");
  callersFails(odd, kCallersPassword, 5208, "encedPfxPasswd 內容解密失敗\n");
  callersFails("AAAA", kCallersPassword, 5208, "encedPfxPasswd 內容解密失敗\n");
  callersFails(key, "AAAA", 5005, "encedPfxPasswd 內容解密失敗\n");
  callersFails(key, tooLong.c_str(), 5005, "encedPfxPasswd 內容解密失敗\n");
  storedFails(key, "", "找不到 PFX.pswdB64\n");
  storedFails(key, "-----", "cBytes::base64Decode() ----- BEGIN 不對稱\nPFX.pswdB64 內容解碼失敗\n");
  storedFails(odd, kStoredPassword, "PFX.pswdB64 內容解密, 初始化失敗\n");
  storedFails(key, "AAAA", "PFX.pswdB64 內容解密\n");
  fails({{"PFX.pswd", "wrong"}}, nullptr, 5208, "讀取 pfx 檔失敗, 密碼錯誤\n");
  fails({{"PFX.path", ""}}, nullptr, 5005, "參數 filePath 長度為 0\n讀取 pfx 檔失敗, 密碼錯誤\n");
  gives(ZEPASignInitial(nullptr, nullptr) ? 0 : GetErrorCode(), 1202, "參數 propertyFile 為 NULL\n");
  gives(ZEPASignInitial("", nullptr) ? 0 : GetErrorCode(), 1202, "參數 propertyFile 為 空值\n");
}

TEST_F(Initial, LogsItsStepsAndTheThreePasswordFormsButNoPassword) {
  fixture.properties["PFX.pswdB64"] = "AAAA";
  EXPECT_TRUE(initialise("AAAA"));
  EXPECT_EQ(taken("WARN "), "");
  fixture.properties["PFX.pswdB64"] = kStoredPassword;
  fixture.properties["PFX.pswd"] = "";
  EXPECT_TRUE(initialise("AAAA"));
  EXPECT_EQ(taken("WARN "), big5("找不到 PFX.pswd 續找 PFX.pswdB64\n"));
  fixture.properties["PSWD.authKey"] = "auth";
  fixture.properties["PFX.pswd"] = "wrong";
  EXPECT_TRUE(initialise(kCallersPassword));
  EXPECT_EQ(taken("INFO "), big5("\n重設 LOG Level = DEBUG\nbegin cCertChainList::loadCertChainFiles()\n"
                                 "end cCertChainList::loadCertChainFiles() = false\nend ZEPASign::ZEPASign()\n"));
  EXPECT_TRUE(initialise(kCallersPassword));
  const std::string log = taken();
  for (const char* secret : {"pfx-password", "= wrong", kStoredPassword, kCallersPassword, "= auth", "AAAAAAAA"}) {
    EXPECT_EQ(log.find(secret), std::string::npos) << secret;
  }
}

TEST_F(Initial, OverwritesWhatItReadsAndLoadsChainsOnce) {
  const Properties sound = fixture.properties;
  const auto facts = [] { return sign("x") == 0 ? factsOf(signature()) : SignatureFacts{"none"}; };
  fixture.properties = {{"PFX.signerFilter", "//S_CN=Nobody//"}, {"PKCS7.digest", "SHA1"}};
  fixture.properties.insert(sound.begin(), sound.end());
  ASSERT_TRUE(initialise());
  EXPECT_EQ(sign("x"), 5010);
  for (const char* key : {"PFX.signerFilter", "PKCS7.digest", "PKCS7.addCert", "PKCS7.addPlainText"}) {
    fixture.properties.erase(key);
  }
  ASSERT_TRUE(initialise());
  EXPECT_EQ(sign("x"), 5010) << "a missing filter keeps the earlier one";
  fixture.properties["PFX.signerFilter"] = "//S_CN=Test Signer//";
  ASSERT_TRUE(initialise());
  EXPECT_EQ(facts().digest, "SHA1") << "a missing digest keeps the earlier one";
  EXPECT_EQ(facts().certificates, Lines());
  EXPECT_EQ(facts().attributes, Lines());
  EXPECT_TRUE(facts().detached);
  fixture.properties = {{"PKCS7.addTimestamp", "true"}, {"PKCS7.addCert", "2"}, {"PFX.pswd", "wrong"}};
  fixture.properties.insert(sound.begin(), sound.end());
  ASSERT_FALSE(initialise());
  EXPECT_EQ(facts().digest, "SHA256") << "what it had read";
  EXPECT_EQ(facts().attributes.size(), 3U) << "what it had read";
  EXPECT_EQ(facts().certificates, Lines({derOf(fixture.signer.certificate)}))
      << "but the credential is the earlier one";
  fixture.properties["PFX.pswd"] = sound.at("PFX.pswd");
  fixture.addChain();
  for (const std::string& path : {directory.path(), std::string()}) {
    fixture.properties["P7B.path"] = path;
    ASSERT_TRUE(initialise());
    EXPECT_EQ(facts().certificates.size(), 3U);
    EXPECT_EQ(taken("INFO begin cCertChainList").empty(), path.empty()) << "once there is a chain, none is loaded";
  }
}

}  // namespace zepasign::testing
