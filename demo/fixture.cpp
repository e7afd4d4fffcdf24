#include "demo/fixture.h"

namespace zepasign::demo {

Fixture::Fixture(const Key& signerKey)
    : Pki(makePki({.signerKey = signerKey})),
      properties{{"LOG.level", "DEBUG"},
                 {"LOG.path", directory.path()},
                 {"LOG.file", "app.log"},
                 {"PKCS7.digest", "SHA256"},
                 {"PKCS7.addCert", "1"},
                 {"PKCS7.addPlainText", "TRUE"},
                 {"PSWD.license", std::string(64, 'A')},
                 {"PFX.path", directory.path()},
                 {"PFX.file", "signer.pfx"},
                 {"PFX.pswd", PfxPlan{}.password}} {
  directory.write("signer.pfx", makePfx({.identity = signer}));
  directory.write("chain.p7b", makeP7b({root.certificate, ca.certificate}));
  directory.write("ca.crl", makeCrl({.issuer = ca, .serials = {"01", "02", "02"}}));
}

void Fixture::addChain() {
  properties.merge(Properties{{"P7B.path", directory.path()},
                              {"P7B0.name", "chain.p7b"},
                              {"P7B0.SKI", subjectKeyIdOf(ca.certificate)},
                              {"CRL.path", directory.path()},
                              {"P7B0.crlFile0", "ca.crl"}});
}

}  // namespace zepasign::demo
