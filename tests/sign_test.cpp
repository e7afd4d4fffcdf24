#include "api/zepasign.h"
#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Sign = SignerTest;

TEST_F(Sign, EachBadArgumentHasItsCodeAndItsLine) {
  const std::string file = directory.write("file", "x"), none = directory.path("none"),
                    empty = directory.write("empty", "");
  unsigned char byte = 'x';
  gives(SignPkcs7Bin(nullptr, 1), 5005, "參數 data 內容為 NULL\n");
  gives(SignPkcs7Bin(&byte, 0), 5005, "參數 datalen <= 0\n");
  gives(SignPkcs7Bin(&byte, 1), 5204, "pfx 檔尚未載入\n");
  gives(SignPkcs7(nullptr, nullptr), 5010, "pfx 載入錯誤\n");
  gives(SignPkcs7File(file.c_str()), 5204, "pfx 檔尚未載入\n");
  EXPECT_EQ(GetErrorCode(), 5204);
  ASSERT_TRUE(initialise());
  EXPECT_EQ(sign("x"), 0);
  taken();
  gives(SignPkcs7(nullptr, "BIG5"), 5005, "參數 plain 內容為 NULL\n");
  gives(SignPkcs7("", "BIG5"), 5005, "參數 plain 長度為 0\n");
  gives(SignPkcs7("x", nullptr), 5005, "參數 encoding 內容為 NULL\n");
  gives(SignPkcs7("x", ""), 5005, "參數 encoding 長度為 0\n");
  gives(SignPkcs7("x\xFF", "big5"), 5901, "convertUniCodeStringToAny(BIG5) 失敗\n");
  gives(SignPkcs7("x\xA4", "utf-16LE"), 5901, "convertUniCodeStringToAny(UTF-16LE) 失敗\n");
  gives(SignPkcs7("x", "UTF-8"), 5901, "無法支援的編碼格式, encoding = UTF-8\n");
  gives(SignPkcs7("x", "none"), 5901, "iconv_open() 失敗\n無法支援的編碼格式, encoding = none\n");
  gives(SignPkcs7File(nullptr), 5005, "參數 fileName 內容為 NULL\n");
  gives(SignPkcs7File(""), 5005, "參數 fileName 長度為 0\n");
  gives(SignPkcs7File(none.c_str()), 1002, "Open file = " + none + "\n讀取檔案失敗 = " + none + "\n");
  EXPECT_EQ(GetSignedPkcs7(), nullptr);
  gives(SignPkcs7File(empty.c_str()), 5005, "參數 data 內容為 NULL\n");
  EXPECT_EQ(GetSignedPkcs7(), nullptr);
  gives(SignPkcs7Bin(&byte, -1), 5005, "參數 datalen <= 0\n");
}

TEST_F(Sign, EachUnmetConditionLeavesNoSignature) {
  CertPlan expired = signerPlan(fixture.ca), unfit = expired, fit = expired;
  expired.notAfter = "210101000000Z";
  unfit.keyUsage = "keyEncipherment";
  fit.keyUsage = "nonRepudiation";
  const auto ends = [&](const CertPlan& plan, int code, const std::string& errors) {
    directory.write("signer.pfx", makePfx({.identity = makeIdentity(plan)}));
    ASSERT_TRUE(initialise());
    taken();
    gives(sign("x"), code, errors);
    EXPECT_EQ(GetSignedPkcs7() == nullptr, code != 0);
  };
  ends(expired, 0, "");
  ends(unfit, 0, "");
  signer.setChecks(true, true);
  ends(expired, 5011, "驗憑證效期 : 憑證 已過期\n驗憑證效期失敗, 返回 = 0x00001393(5011)\n");
  ends(unfit, 5017, "驗憑證用途失敗, 返回 = 0x00001399(5017)\n");
  unfit.keyUsage = "";
  ends(unfit, 5017, "驗憑證用途失敗, 返回 = 0x00001399(5017)\n");
  ends(fit, 0, "");
  EXPECT_EQ(sign("x"), 0);
  EXPECT_TRUE(taken("DEBUG ").starts_with(
      big5("憑證生效日 = 20200101080000\n憑證到期日 = 21000101075959\nend cPkcs12::checkCertValid() = 0x00000000(0)\n"
           "憑證用途(KeyUsage) = 0x00000040(64)\nend cPkcs12::checkKeyUsageForSign() = 0x00000000(0)\n")));
  EXPECT_EQ(cPkcs12().checkCertValid(), 5010);
  EXPECT_EQ(cPkcs12().checkKeyUsageForSign(), 5010);
  fixture.properties["PFX.signerFilter"] = "S_CN=no";
  ends(signerPlan(fixture.ca), 5010, "簽章憑證條件失敗, 返回 = 0x00001392(5010)\n");
  fixture.properties["PFX.signerFilter"] = "////";
  fixture.properties["PKCS7.digest"] = "sha256";
  ends(signerPlan(fixture.ca), 5061, "簽章條件錯誤, 演算法 = 0x00000000(0)\n");
}

TEST_F(Sign, SignsTheBytesThatItIsGivenAndLogsWhatItKeeps) {
  ASSERT_TRUE(initialise());
  const auto holds = [](int code, const std::string& bytes) {
    EXPECT_EQ(code, 0);
    const Pkcs7Ptr pkcs7(decode<d2i_PKCS7>(signature()));
    const ASN1_OCTET_STRING* content = pkcs7->d.sign->contents->d.data;
    EXPECT_EQ(std::string(content->data, content->data + content->length), bytes);
  };
  holds(SignPkcs7("abc", "big5"), "abc");
  holds(SignPkcs7("a\xC3\xB1", "utf-16le"), std::string("a\0\x3D\x7C", 4));
  holds(SignPkcs7("\xA2\xCC\xF9\xF9", "BIG5"), "\xA2\xCC\xF9\xF9");  // codes that a converter folds onto others
  taken();
  const std::string binary("line\r\n\0\x1A", 8), file = directory.write("file", binary);
  holds(SignPkcs7File(file.c_str()), binary);
  const std::string size = std::to_string(signature().size()), lines = taken();
  EXPECT_NE(lines.find(big5("\nDEBUG 簽章值(len=" + size + ", 0x")), std::string::npos);
  EXPECT_TRUE(lines.ends_with(big5(std::string("\nDEBUG 簽章值(base64) = ") + GetSignedPkcs7() +
                                   "\nINFO end ZEPASign::SignPkcs7Bin() = 0x00000000(0)\n")));
}

TEST_F(Sign, ThePfxsOwnCaListGoesBeforeTheLoadedChain) {
  const Certificate other = makeIdentity(caPlan("Other")).certificate, root = fixture.root.certificate;
  directory.write("signer.pfx", makePfx({.identity = fixture.signer, .caCertificates = {other, root}}));
  fixture.properties["PKCS7.addCert"] = "3";
  fixture.addChain();
  ASSERT_TRUE(initialise());
  ASSERT_EQ(sign("x"), 0);
  EXPECT_EQ(factsOf(signature()).certificates, Lines({derOf(fixture.signer.certificate), derOf(root), derOf(other)}));
}

}  // namespace zepasign::testing
