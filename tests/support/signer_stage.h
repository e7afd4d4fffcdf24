// A stage on which the library can be initialised and can sign.
#ifndef ZEPASIGN_TESTS_SUPPORT_SIGNER_STAGE_H_
#define ZEPASIGN_TESTS_SUPPORT_SIGNER_STAGE_H_

#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/pki.h"

namespace zepasign::testing {

// SignerStage: root -> CA -> signer, the signer's PFX (without CA certificates) in a folder, and the properties with
// which initialisation succeeds. A test changes `properties` or writes other files, then asks for `propertyFile`.
struct SignerStage {
  TempFolder folder = {};
  Identity root = makeIdentity(caPlan("Test Root"));
  Identity ca = makeIdentity(caPlan("Test CA", root));
  Identity signer = makeIdentity(signerPlan(ca));
  Properties properties = {{"LOG.level", "DEBUG"},
                           {"LOG.path", folder.path()},
                           {"LOG.file", "app.log"},
                           {"PKCS7.digest", "SHA256"},
                           {"PKCS7.addCert", "1"},
                           {"PKCS7.addPlainText", "TRUE"},
                           {"PSWD.license", std::string(64, 'A')},
                           {"PFX.path", folder.path()},
                           {"PFX.file", "signer.pfx"},
                           {"PFX.pswd", PfxPlan{}.password}};

  SignerStage() { folder.write("signer.pfx", makePfx({.identity = signer})); }

  // propertyFile: writes the properties anew and tells the file's path.
  [[nodiscard]] std::string propertyFile() const { return folder.write("app.properties", propertyText(properties)); }

  [[nodiscard]] std::vector<std::string> log() const { return readLog(folder.path()); }
};

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_SIGNER_STAGE_H_
