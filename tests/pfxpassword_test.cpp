#include "tests/support/signer_test.h"

namespace zepasign::testing {

using PfxPassword = SignerTest;

TEST_F(PfxPassword, FillsTheAreaThatItIsGivenOrTellsWhyNot) {
  const std::string license = "PSWD.license = " + std::string(64, 'a') + "\n", key = "PSWD.authKey = auth\n";
  const auto makes = [&](const std::string& keys, const char* password, int capacity, int code, const std::string& area,
                         const std::string& error = "") {
    std::string given(45, '#');
    int length = capacity;
    const std::string file = keys.empty() ? "" : directory.write("keys", keys);
    gives(MakeZEPASignPasswd(given.data(), &length, file.c_str(), password), code, error);
    EXPECT_EQ(given, area);
    EXPECT_EQ(length, code == 5003 || area[0] != '#' ? 44 : capacity) << error;
  };
  const std::string text = "4SioxGLp8gZha6raJTb2I8KvO1zCW9SXjBvmTqqKaiI=";  // as the openssl command encrypts it
  const std::string zeros(43, '\0'), before(45, '#'), both = license + key, tooLong(512, 'p');
  makes(both, "pppppppppppppppp", 45, 0, text + '\0');
  makes(both, "pppppppppppppppp", 44, 0, text + '#');
  makes(both, "pppppppppppppppp", 43, 5003, zeros + "##");
  makes(both, "pppppppppppppppp", -1, 5003, before);
  makes("", "p", 45, 1202, before, "參數 propertyFile 為 NULL\n");
  makes("# no pair", "p", 45, 0, before);
  makes(key, "p", 45, 5005, before, "找不到 PSWD.license\n");
  makes(license, "p", 45, 5005, before, "找不到 PSWD.authKey\n");
  makes(both, nullptr, 45, 5005, before, "passwd 參數錯誤\n");
  makes(both, "", 45, 5005, before, "passwd 參數錯誤\n");
  makes("PSWD.license = ABC\n" + key, "p", 45, 5208, before, "PFX.pswdB64 內容解碼失敗\n");
  makes(both, tooLong.c_str(), 45, 5063, before, "加密失敗\n");
  EXPECT_EQ(MakeZEPASignPasswd(nullptr, nullptr, nullptr, nullptr), 5005) << "before anything else is looked at";
  EXPECT_EQ(GetErrorCode(), 0) << "the signer's code is left alone";
}

TEST_F(PfxPassword, OfTheGreatestLengthOpensThePfx) {
  const std::string password(511, 'p');
  directory.write("signer.pfx", makePfx({.identity = fixture.signer, .password = password}));
  fixture.properties["PSWD.authKey"] = "auth";
  int length = 0;
  EXPECT_EQ(MakeZEPASignPasswd(nullptr, &length, fixture.propertyFile().c_str(), password.c_str()), 0);
  std::string text(static_cast<std::size_t>(length), '#');
  EXPECT_EQ(MakeZEPASignPasswd(text.data(), &length, fixture.propertyFile().c_str(), password.c_str()), 0);
  EXPECT_TRUE(initialise(text.c_str()));
}

TEST_F(PfxPassword, IsTheFirstLineOfAFileWhenNoOtherFormIsGiven) {
  fixture.addChain();
  fixture.properties.erase("PFX.pswd");
  fixture.properties["PFX.pswdFile"] = directory.path("word");
  const auto gives5005 = [&](const std::string& error) {
    EXPECT_FALSE(initialise());
    gives(GetErrorCode(), 5005, error);
  };
  gives5005("讀取 PFX.pswdFile 失敗\n");
  for (const char* content : {"pfx-password", "pfx-password\n", "pfx-password\r\nmore"}) {
    directory.write("word", content);
    EXPECT_TRUE(initialise()) << content;
  }
  directory.write("word", "\npfx-password");
  gives5005("PFX.pswdFile 長度為 0\n");
  directory.write("word", std::string(512, 'p'));
  gives5005("讀取 PFX.pswdFile 失敗\n");
  fixture.properties["PFX.pswdFile"] = directory.path();
  gives5005("讀取 PFX.pswdFile 失敗\n");
  fixture.properties["PFX.pswdB64"] = "AAAA";
  gives5005("PFX.pswdB64 內容解密\n");
}

}  // namespace zepasign::testing
