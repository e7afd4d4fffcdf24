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

using Host = SignerTest;

// The host's default context can do nothing at all, so every call must find its algorithms in the library's own.
TEST_F(Host, KeepsItsContextItsProvidersAndItsErrorQueue) {
  folder.write("signer.pfx", makePfx({.identity = stage.signer, .form = PfxForm::legacy}));
  addChain();
  stage.properties["PKCS7.addTimestamp"] = "TRUE";
  const std::string good = stage.propertyFile(), content = folder.write("content", "x");
  stage.properties["PFX.pswd"] = "wrong";
  const std::string wrong = folder.write("wrong", propertyText(stage.properties));
  stage.properties["PSWD.authKey"] = "auth";
  const std::string keys = folder.write("keys", propertyText(stage.properties));
  const LibCtxPtr host(OSSL_LIB_CTX_new());
  const ProviderPtr nothing(OSSL_PROVIDER_load(host.get(), "null"));
  OSSL_LIB_CTX_set0_default(host.get());
  const auto prepare = [] {
    ERR_raise(ERR_LIB_USER, 1);
    ERR_set_mark();
    ERR_raise(ERR_LIB_USER, 2);
  };
  const auto undisturbed = [&](bool asExpected, int line = __builtin_LINE()) {
    SCOPED_TRACE(line);
    EXPECT_TRUE(asExpected);
    EXPECT_EQ(OSSL_LIB_CTX_set0_default(nullptr), host.get());
    EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), 2);
    EXPECT_EQ(ERR_pop_to_mark(), 1);
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 1);
    EXPECT_EQ(ERR_get_error(), 0UL);
    prepare();
  };
  char area[64] = "";
  int size = sizeof area;
  prepare();
  undisturbed(!ZEPASignInitial("/none", nullptr));
  undisturbed(sign("x") == 5204);
  undisturbed(!ZEPASignInitial(wrong.c_str(), nullptr) && GetErrorCode() == 5208);
  undisturbed(ZEPASignInitial(good.c_str(), nullptr));
  undisturbed(MakeZEPASignPasswd(area, &size, keys.c_str(), "p") == 0);
  undisturbed(!ZEPASignInitial(keys.c_str(), area) && GetErrorCode() == 5208);
  undisturbed(!ZEPASignInitial(keys.c_str(), "AAAA") && GetErrorCode() == 5005);
  undisturbed(sign("x") == 0);
  undisturbed(SignPkcs7("x", "BIG5") == 0);
  undisturbed(SignPkcs7("\xFF", "BIG5") == 5901);
  undisturbed(SignPkcs7File(content.c_str()) == 0 && GetSignedPkcs7() != nullptr);
  for (auto* query : {GetPkiVersion, GetErrorMsg, GetSignerCertB64, GetSignerCertSubject, GetSignerCertIssuer,
                      GetSignerCertSerial, GetSignerCertNotBefore, GetSignerCertNotAfter, GetSignerCertFinger}) {
    undisturbed(!std::string(query()).empty());
  }
  undisturbed(*GetSignerCertSubjectCN() == '\0');
  EXPECT_EQ(providersOf(host.get()), std::set<std::string>{"null"});
  OSSL_LIB_CTX_set0_default(OSSL_LIB_CTX_get0_global_default());
  EXPECT_FALSE(providersOf(nullptr).contains("legacy"));
}

}  // namespace zepasign::testing
