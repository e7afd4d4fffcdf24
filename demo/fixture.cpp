#include "demo/fixture.h"

namespace zepasign::demo {

Fixture::Fixture(const Key& signerKey)
    : Pki(makePki({.signerKey = signerKey})),
      properties{{"LOG.level", "DEBUG"},
                 {"LOG.path", folder.path()},
                 {"LOG.file", "app.log"},
                 {"PKCS7.digest", "SHA256"},
                 {"PKCS7.addCert", "1"},
                 {"PKCS7.addPlainText", "TRUE"},
                 {"PSWD.license", std::string(64, 'A')},
                 {"PFX.path", folder.path()},
                 {"PFX.file", "signer.pfx"},
                 {"PFX.pswd", PfxPlan{}.password}} {
  folder.write("signer.pfx", makePfx({.identity = signer}));
  folder.write("chain.p7b", makeP7b({root.certificate, ca.certificate}));
  folder.write("ca.crl", makeCrl({.issuer = ca, .serials = {"01", "02", "02"}}));
}

void Fixture::addChain() {
  properties.merge(Properties{{"P7B.path", folder.path()},
                              {"P7B0.name", "chain.p7b"},
                              {"P7B0.SKI", subjectKeyIdOf(ca.certificate)},
                              {"CRL.path", folder.path()},
                              {"P7B0.crlFile0", "ca.crl"}});
}

}  // namespace zepasign::demo
