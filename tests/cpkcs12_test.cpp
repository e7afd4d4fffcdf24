#include "tests/support/signer_test.h"

namespace zepasign::testing {

using Pkcs12 = SignerTest;

// withMacIterations: the PFX with another number of iterations of its MAC, which then does not fit any more.
static std::string withMacIterations(const std::string& pfx, long iterations) {
  const Pkcs12Ptr pkcs12(decode<d2i_PKCS12>(pfx));
  const ASN1_INTEGER* number = nullptr;
  PKCS12_get0_mac(nullptr, nullptr, nullptr, &number, pkcs12.get());
  ASN1_INTEGER_set(const_cast<ASN1_INTEGER*>(number), iterations);
  return encode<i2d_PKCS12>(pkcs12.get());
}

TEST_F(Pkcs12, EachLoadFailureHasItsCodeAndItsLine) {
  const std::string good = makePfx({.identity = fixture.signer}), there = directory.path();
  std::string damaged = good;
  damaged[good.size() / 2] ^= 1;
  const auto fails = [&](const char* path, const char* file, const char* word, int code, const std::string& error) {
    cPkcs12 credential;
    gives(credential.loadPfxFile(path, file, word), code, error);
    EXPECT_EQ(credential.privateKey(), nullptr) << error;
    EXPECT_EQ(credential.certificate(), nullptr) << error;
    EXPECT_EQ(ERR_peek_error(), 0UL) << error;
  };
  const auto refuses = [&](const std::string& bytes, int code) {
    directory.write("bad.pfx", bytes);
    fails(there.c_str(), "bad.pfx", "pfx-password", code, "");
  };
  refuses(good.substr(0, good.size() - 1), 1102);
  refuses(pemOf("PKCS12", good), 1102);
  refuses(damaged, 5208);
  refuses(makePfx({.identity = fixture.signer, .form = PfxForm::withoutMac}), 5208);
  const std::vector<Certificate> cas = {fixture.ca.certificate};
  refuses(makePfx({.identity = {nullptr, fixture.signer.certificate}, .caCertificates = cas}), 5208);
  refuses(makePfx({.identity = {fixture.signer.key, nullptr}, .caCertificates = cas}), 5208);
  refuses(makePfx({.identity = fixture.signer, .password = "other"}), 5208);
  directory.write("bad.pfx", withMacIterations(good, INT_MAX));
  fails(there.c_str(), "bad.pfx", "pfx-password", 5208, "pfx 檔 MAC 的重複次數過大\n");
  fails(nullptr, nullptr, nullptr, 5005, "參數 filePath 內容為 NULL\n");
  fails("", "", "", 5005, "參數 filePath 長度為 0\n");
  fails("none", nullptr, nullptr, 5005, "參數 fileName 內容為 NULL\n");
  fails("none", "", "", 5005, "參數 fileName 長度為 0\n");
  fails(there.c_str(), "none", nullptr, 1102, "憑證檔不存在, 檔名 = " + there + "/none\n");
  fails(there.c_str(), "bad.pfx", nullptr, 5005, "參數 pfxPasswd 內容為 NULL\n");
  fails(there.c_str(), "bad.pfx", "", 5005, "參數 pfxPasswd 長度為 0\n");
}

TEST_F(Pkcs12, OldAndNewFormsLoadWithAndWithoutCaCertificates) {
  const Identity signer = makeIdentity({.issuer = fixture.ca});  // an EC key does, too
  cPkcs12 credential;
  for (const auto& [form, cas] : {std::pair{PfxForm::modern, 0U}, {PfxForm::legacy, 1U}, {PfxForm::modern, 2U}}) {
    const std::vector<Certificate> list(cas, fixture.ca.certificate);
    ASSERT_EQ(load(credential, {.identity = signer, .caCertificates = list, .form = form}), 0);
    EXPECT_EQ(X509_cmp(credential.certificate(), signer.certificate.get()), 0);
    EXPECT_EQ(EVP_PKEY_eq(credential.privateKey(), signer.key.get()), 1);
    EXPECT_EQ(std::max(sk_X509_num(credential.caCerts()), 0), static_cast<int>(cas));
  }
  EXPECT_EQ(load(credential, {.identity = signer, .password = "other"}), 5208);
  EXPECT_EQ(credential.privateKey(), nullptr);
  EXPECT_EQ(credential.certificate(), nullptr);
  EXPECT_EQ(credential.caCerts(), nullptr);
}

}  // namespace zepasign::testing
