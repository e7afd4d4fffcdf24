#include "fuzz/fuzz_support.h"

namespace zepasign::fuzz {

Stage::Stage() : root(testing::makeIdentity(testing::caPlan("Fuzz Root"))) {
  testing::CertPlan plan = testing::signerPlan(root);
  plan.key = testing::newEcKey();  // signs faster than RSA
  signer = testing::makeIdentity(plan);
  folder.write("signer.pfx", testing::makePfx({.identity = signer}));
  folder.write("chained.pfx", testing::makePfx({.identity = signer, .caCertificates = {root.certificate}}));
  folder.write("chain.p7b", testing::makeP7b({root.certificate}));
  folder.write("list.crl", testing::makeCrl({.issuer = root, .serials = {"01", "02", "02"}}));
}

testing::Properties Stage::properties() const {
  return {{"LOG.level", "OFF"},
          {"P7B.path", folder.path()},
          {"P7B0.name", "chain.p7b"},
          {"P7B0.SKI", testing::subjectKeyIdOf(root.certificate)},
          {"CRL.path", folder.path()},
          {"P7B0.crlFile0", "list.crl"},
          {"PKCS7.digest", "SHA256"},
          {"PKCS7.addCert", "2"},
          {"PKCS7.addPlainText", "TRUE"},
          {"PSWD.license", std::string(64, 'A')},
          {"PFX.path", folder.path()},
          {"PFX.file", "signer.pfx"},
          {"PFX.pswd", testing::PfxPlan{}.password}};
}

const Stage& stage() {
  static const Stage theStage;
  return theStage;
}

}  // namespace zepasign::fuzz
