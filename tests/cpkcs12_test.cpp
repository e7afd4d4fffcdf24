#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Pkcs12 = SignerTest;

TEST_F(Pkcs12, EachLoadFailureHasItsCodeAndItsLine) {
  const std::string good = makePfx({.identity = stage.signer}), there = folder.path();
  std::string damaged = good;
  damaged[good.size() / 2] ^= 1;
  const auto fails = [&](const char* path, const char* file, const char* word, int code, const std::string& error) {
    cPkcs12 credential;
    gives(credential.loadPfxFile(path, file, word), code, error);
    EXPECT_TRUE(!credential.privateKey() && !credential.certificate() && ERR_peek_error() == 0) << error;
  };
  const auto refuses = [&](const std::string& bytes, int code) {
    folder.write("bad.pfx", bytes);
    fails(there.c_str(), "bad.pfx", "pfx-password", code, "");
  };
  refuses(good.substr(0, good.size() - 1), 1102);
  refuses(pemOf("PKCS12", good), 1102);
  refuses(damaged, 5208);
  refuses(makePfx({.identity = stage.signer, .form = PfxForm::withoutMac}), 5208);
  refuses(makePfx({.identity = {nullptr, stage.signer.certificate}}), 5208);
  refuses(makePfx({.identity = {stage.signer.key, nullptr}}), 5208);
  refuses(makePfx({.identity = stage.signer, .password = "other"}), 5208);
  fails(nullptr, "bad.pfx", "word", 5005, "參數 filePath 內容為 NULL\n");
  fails("", "bad.pfx", "word", 5005, "參數 filePath 長度為 0\n");
  fails(there.c_str(), nullptr, "word", 5005, "參數 fileName 內容為 NULL\n");
  fails(there.c_str(), "", "word", 5005, "參數 fileName 長度為 0\n");
  fails(there.c_str(), "none", nullptr, 1102, "憑證檔不存在, 檔名 = " + there + "/none\n");
  fails(there.c_str(), "bad.pfx", nullptr, 5005, "參數 pfxPasswd 內容為 NULL\n");
  fails(there.c_str(), "bad.pfx", "", 5005, "參數 pfxPasswd 長度為 0\n");
}

TEST_F(Pkcs12, OldAndNewFormsLoadWithAndWithoutCaCertificates) {
  const Identity signer = makeIdentity({.issuer = stage.ca});  // an EC key does, too
  cPkcs12 credential;
  for (const auto& [form, cas] : {std::pair{PfxForm::modern, 0U}, {PfxForm::legacy, 1U}, {PfxForm::modern, 2U}}) {
    const std::vector<Certificate> list(cas, stage.ca.certificate);
    ASSERT_EQ(load(credential, {.identity = signer, .caCertificates = list, .form = form}), 0);
    EXPECT_EQ(X509_cmp(credential.certificate(), signer.certificate.get()), 0);
    EXPECT_EQ(EVP_PKEY_eq(credential.privateKey(), signer.key.get()), 1);
    EXPECT_EQ(std::max(sk_X509_num(credential.caCerts()), 0), static_cast<int>(cas));
  }
  EXPECT_EQ(load(credential, {.identity = signer, .password = "other"}), 5208);
  EXPECT_TRUE(!credential.privateKey() && !credential.certificate() && !credential.caCerts());
}

TEST_F(Pkcs12, ValidityAndKeyUsage) {
  const auto check = [&](const CertPlan& plan, int validity, int usage, const std::string& lines) {
    cPkcs12 credential;
    EXPECT_EQ(credential.checkCertValid() + credential.checkKeyUsageForSign(), 2 * 5010);
    ASSERT_EQ(load(credential, {.identity = makeIdentity(plan)}), 0);
    taken();
    EXPECT_EQ(credential.checkCertValid(), validity);
    EXPECT_EQ(credential.checkKeyUsageForSign(), usage);
    EXPECT_EQ(taken("DEBUG "), big5(lines));
  };
  check({.notBefore = "20980101000000Z", .keyUsage = "nonRepudiation"}, 5012, 0,
        "憑證生效日 = 20980101080000\n憑證到期日 = 21000101075959\nend cPkcs12::checkCertValid() = 0x00001394(5012)\n"
        "憑證用途(KeyUsage) = 0x00000040(64)\nend cPkcs12::checkKeyUsageForSign() = 0x00000000(0)\n");
  check({.keyUsage = ""}, 0, 5017,
        "憑證生效日 = 20200101080000\n憑證到期日 = 21000101075959\nend cPkcs12::checkCertValid() = 0x00000000(0)\n"
        "end cPkcs12::checkKeyUsageForSign() = 0x00001399(5017)\n");
}

}  // namespace zepasign::testing
