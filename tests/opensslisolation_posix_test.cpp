#include <set>

#include "tests/support/signer_test.h"

namespace zepasign::testing {

static std::set<std::string> providersOf(OSSL_LIB_CTX* context) {
  std::set<std::string> names;
  const auto collect = [](OSSL_PROVIDER* provider, void* set) {
    return static_cast<std::set<std::string>*>(set)->insert(OSSL_PROVIDER_get0_name(provider)).second ? 1 : 0;
  };
  OSSL_PROVIDER_do_all(context, collect, &names);
  return names;
}

using OpensslIsolation = SignerTest;

static bool allQueriesAnswer() {
  bool told = *GetSignerCertSubjectCN() == '\0';
  for (auto* query : {GetErrorMsg, GetPkiVersion, GetSignerCertB64, GetSignerCertSubject, GetSignerCertIssuer,
                      GetSignerCertNotBefore, GetSignerCertNotAfter, GetSignerCertSerial, GetSignerCertFinger}) {
    told = told && *query() != '\0';
  }
  return told;
}

// expectErrorsKept: what the host queued before the call, marks included, is there after it.
static void expectErrorsKept(const std::function<bool()>& works) {
  ERR_raise(ERR_LIB_USER, 1);
  ERR_set_mark();
  ERR_raise(ERR_LIB_USER, ERR_R_MALLOC_FAILURE);
  EXPECT_TRUE(works());
  EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), ERR_R_MALLOC_FAILURE);
  EXPECT_EQ(ERR_pop_to_mark(), 1);
  EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 1);
  EXPECT_EQ(ERR_get_error(), 0UL);
}

// The host's default context can do nothing at all, so every call must find its algorithms in the library's own.
TEST_F(OpensslIsolation, KeepsItsContextItsProvidersAndItsErrorQueue) {
  directory.write("signer.pfx", makePfx({.identity = fixture.signer, .form = PfxForm::legacy}));
  fixture.addChain();
  CertPlan bare = caPlan("Bare");
  bare.subjectKeyId = bare.authorityKeyId = "";  // what is missing must not be taken for what found no memory
  directory.write("chain.p7b",
                  makeP7b({fixture.root.certificate, fixture.ca.certificate, makeIdentity(bare).certificate}));
  fixture.properties["PKCS7.addTimestamp"] = "TRUE";
  const std::string good = fixture.propertyFile(), content = directory.write("content", "x");
  Properties changed = fixture.properties;
  changed["PFX.pswd"] = "wrong";
  const std::string wrong = directory.write("wrong", propertyText(changed));
  changed["PSWD.authKey"] = "auth";
  const std::string keys = directory.write("keys", propertyText(changed));
  const LibCtxPtr host(OSSL_LIB_CTX_new());
  const ProviderPtr nothing(OSSL_PROVIDER_load(host.get(), "null"));
  OSSL_LIB_CTX_set0_default(host.get());
  char area[64] = "";
  int size = sizeof area;
  const std::function<bool()> calls[] = {
      [] { return !ZEPASignInitial("/none", nullptr); },
      [] { return sign("x") == 5204; },
      [&] { return !ZEPASignInitial(wrong.c_str(), nullptr) && GetErrorCode() == 5208; },
      [&] { return ZEPASignInitial(good.c_str(), nullptr); },
      [&] { return MakeZEPASignPasswd(area, &size, keys.c_str(), "p") == 0; },
      [&] { return !ZEPASignInitial(keys.c_str(), area) && GetErrorCode() == 5208; },
      [&] { return !ZEPASignInitial(keys.c_str(), "AAAA") && GetErrorCode() == 5005; },
      [] { return sign("x") == 0; },
      [] { return SignPkcs7("\xFF", "BIG5") == 5901 && SignPkcs7("x", "BIG5") == 0; },
      [&] { return SignPkcs7File(content.c_str()) == 0 && GetSignedPkcs7() != nullptr; },
      allQueriesAnswer};
  for (const auto& works : calls) {
    SCOPED_TRACE(&works - calls);
    expectErrorsKept(works);
    EXPECT_EQ(OSSL_LIB_CTX_set0_default(nullptr), host.get());
  }
  EXPECT_EQ(providersOf(host.get()), std::set<std::string>{"null"});
  OSSL_LIB_CTX_set0_default(OSSL_LIB_CTX_get0_global_default());
  EXPECT_FALSE(providersOf(nullptr).contains("legacy"));
}

// The queue holds fifteen errors, so the first one of ours would push the host's oldest out.
TEST_F(OpensslIsolation, KeepsAFullErrorQueueAndReportsTheFirstErrorOfItsOwn) {
  fixture.addChain();
  directory.write("bad.crl", pemOf("X509 CRL", makeCrl({.issuer = fixture.ca})));
  fixture.properties["CRL.path"] = directory.path();
  fixture.properties["P7B0.crlFile0"] = fixture.properties["PFX.file"] = "bad.crl";
  const int count = 15;
  const int marked = 5;
  for (int i = 1; i <= count; ++i) {
    ERR_raise_data(ERR_LIB_USER, i, "text %d", i);
    if (i == marked) ERR_set_mark();
  }
  EXPECT_FALSE(initialise());
  const std::string errors = taken("ERROR ");
  EXPECT_NE(errors.find("asn1 encoding routines::wrong tag"), std::string::npos) << errors;
  EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), count);
  EXPECT_EQ(ERR_pop_to_mark(), 1);
  for (int i = 1; i <= marked; ++i) {
    const char* text = nullptr;
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error_all(nullptr, nullptr, nullptr, &text, nullptr)), i);
    EXPECT_STREQ(text, ("text " + std::to_string(i)).c_str());
  }
  EXPECT_EQ(ERR_get_error(), 0UL);
}

}  // namespace zepasign::testing
