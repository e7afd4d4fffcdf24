#include "tests/support/signer_test.h"

namespace zepasign::testing {

using PfxPassword = SignerTest;

TEST_F(PfxPassword, FillsTheAreaThatItIsGiven) {
  const std::string file = folder.write("keys", "PSWD.authKey = auth\nPSWD.license = " + std::string(64, 'a'));
  const std::string text = "4SioxGLp8gZha6raJTb2I8KvO1zCW9SXjBvmTqqKaiI=";  // as the openssl command enciphers it
  const auto fills = [&](int capacity, int code, const std::string& after) {
    std::string area(45, '#');
    EXPECT_EQ(MakeZEPASignPasswd(area.data(), &capacity, file.c_str(), "pppppppppppppppp"), code);
    EXPECT_EQ(area, after);
    EXPECT_EQ(capacity, 44);
  };
  fills(45, 0, text + '\0');
  fills(44, 0, text + '#');
  fills(43, 5003, std::string(43, '\0') + "##");
  fills(-1, 5003, std::string(45, '#'));
}

TEST_F(PfxPassword, OfTheGreatestLengthOpensThePfx) {
  const std::string password(511, 'p');
  folder.write("signer.pfx", makePfx({.identity = stage.signer, .password = password}));
  stage.properties["PSWD.authKey"] = "auth";
  int length = 0;
  ASSERT_EQ(MakeZEPASignPasswd(nullptr, &length, stage.propertyFile().c_str(), password.c_str()), 0);
  std::string text(static_cast<std::size_t>(length), '#');
  ASSERT_EQ(MakeZEPASignPasswd(text.data(), &length, stage.propertyFile().c_str(), password.c_str()), 0);
  EXPECT_TRUE(initialise(text.c_str()));
}

TEST_F(PfxPassword, EachFailureHasItsCodeAndItsLine) {
  const std::string license = "PSWD.license = " + std::string(64, 'a') + "\n", key = "PSWD.authKey = auth\n";
  const auto fails = [&](const std::string& properties, const char* password, int code, const std::string& error) {
    char area[8] = "before";
    int size = sizeof area;
    const std::string file = properties.empty() ? "" : folder.write("keys", properties);
    gives(MakeZEPASignPasswd(area, &size, file.c_str(), password), code, error);
    EXPECT_TRUE(std::string(area) == "before" && size == 8) << error;
  };
  fails("", "p", 1202, "參數 propertyFile 為 NULL\n");
  fails("# no pair", "p", 0, "");
  fails(key, "p", 5005, "找不到 PSWD.license\n");
  fails(license, "p", 5005, "找不到 PSWD.authKey\n");
  fails(license + key, nullptr, 5005, "passwd 參數錯誤\n");
  fails(license + key, "", 5005, "passwd 參數錯誤\n");
  fails("PSWD.license = ABC\n" + key, "p", 5208, "PFX.pswdB64 內容解碼失敗\n");
  fails(license + key, std::string(512, 'p').c_str(), 5063, "加密失敗\n");
  EXPECT_EQ(MakeZEPASignPasswd(nullptr, nullptr, nullptr, "p"), 1202);
  EXPECT_EQ(MakeZEPASignPasswd(nullptr, nullptr, folder.path("keys").c_str(), "p"), 5005);
  EXPECT_EQ(GetErrorCode(), 0) << "the signer's code is left alone";
}

}  // namespace zepasign::testing
