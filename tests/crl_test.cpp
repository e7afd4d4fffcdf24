#include "pki/ccrllist.h"
#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Crl = SignerTest;

TEST_F(Crl, EachFileIsFiledJudgedAndLogged) {
  cCrlList list(folder.path() + "/");
  const auto logs = [&](const std::string& name, const std::string& content, const char* parsed,
                        const std::string& lines) {
    char size[32];
    std::snprintf(size, sizeof size, "0x%08zX(%zu)\n", content.size(), content.size());
    folder.write(name, content);
    EXPECT_TRUE(list.addCrlFile(name, name));
    EXPECT_EQ(
        taken(),
        big5("DEBUG begin cCrlList::addCrlFile()\nPARAM title = " + name + "\nPARAM fileName = " + name +
             "\nDEBUG 載入 CRL 檔案檔名 = " + folder.path() + "/" + name + "\nDEBUG end cFile::loadFromFile() return = true\n" +
             "DEBUG 載入 CRL 檔案長度 = " + size + "DEBUG begin cCrlFileEntry::parseCrl() = " + name + "\n" + lines +
             "DEBUG end cCrlFileEntry::loadCrl() = " + parsed + "\nDEBUG end cCrlList::addCrlFile() = true\n"));
  };
  const std::string sound = makeCrl({.issuer = stage.ca, .serials = {"0A", "0B", "0A"}}),
                    next = "DEBUG CRL 下次發佈時間 = ";
  const std::string valid = "DEBUG 驗 CRL 效期 : 有效 CRL\n",
                    count = "DEBUG CRL廢止數量 = ", end = "DEBUG end cCrlFileEntry::parseCrl()\n";
  const std::string none = count + "0x00000000(0)\n" + count + "0x00000000(0)\n" + end;
  logs("sound", sound, "true",
       next + "21000101075959\n" + valid + count + "0x00000003(3)\n" + count + "0x00000002(2)\n" + end);
  logs("late", makeCrl({.issuer = stage.ca, .nextUpdate = "20210101000000Z"}), "true",
       next + "20210101080000\nERROR 驗 CRL 效期 : CRL 已過期\n" + none);
  logs("endless", makeCrl({.issuer = stage.ca, .nextUpdate = ""}), "true", next + "\n" + valid + none);
  logs("empty", "", "false", "ERROR 尚未載入 CRL 內容!\n");
  logs("armoured", pemOf("X509 CRL", sound), "false",
       "ERROR 解析 crl 失敗, OpenSSL 錯誤訊息 = error:0680008E:asn1 encoding routines::not enough data\n");
  gives(list.addCrlFile("sound", "other"), false, "CRL 重覆設定 = sound\n");
  gives(list.addCrlFile("title", ""), false, "未指定 CRL 檔案的檔名!\n");
  gives(cCrlList("").addCrlFile("title", "sound"), false, "未指定 CRL 目錄!\n");
  gives(cCrlFileEntry("title", folder.path(), "").loadCrl(), false, "尚未指定 CRL 儲存檔案的檔名!\n");
  EXPECT_EQ(ERR_peek_error(), 0UL);
}

}  // namespace zepasign::testing
