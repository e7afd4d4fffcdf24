#include "pki/ccrllist.h"
#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Crl = SignerTest;

TEST_F(Crl, EachFileIsStoredAndChecked) {
  const std::string sound = makeCrl({.issuer = fixture.ca});
  cCrlList list(directory.path() + "/");
  const auto adds = [&](const char* name, const std::string& content, bool parsed, bool expired,
                        const char* error = "") {
    directory.write(name, content);
    gives(list.addCrlFile(name, name), true, error);
    cCrlFileEntry entry("title", directory.path(), name);
    gives(entry.loadCrl(), parsed, error);
    EXPECT_EQ(entry.isExpired(), expired) << error;
  };
  adds("sound", sound, true, false);
  adds("endless", makeCrl({.issuer = fixture.ca, .nextUpdate = ""}), true, false);
  adds("late", makeCrl({.issuer = fixture.ca, .nextUpdate = "20210101000000Z"}), true, true,
       "驗 CRL 效期 : CRL 已過期\n");
  adds("pem", pemOf("X509 CRL", sound), false, false,
       "解析 crl 失敗, OpenSSL 錯誤訊息 = error:068000A8:asn1 encoding routines::wrong tag\n");
  adds("empty", "", false, false, "尚未載入 CRL 內容!\n");
  gives(list.addCrlFile("sound", "other"), false, "CRL 重覆設定 = sound\n");
  gives(list.addCrlFile("title", ""), false, "未指定 CRL 檔案的檔名!\n");
  gives(cCrlList("").addCrlFile("title", "sound"), false, "未指定 CRL 目錄!\n");
  gives(cCrlFileEntry("title", directory.path(), "").loadCrl(), false, "尚未指定 CRL 儲存檔案的檔名!\n");
  EXPECT_EQ(ERR_peek_error(), 0UL);
}

}  // namespace zepasign::testing
