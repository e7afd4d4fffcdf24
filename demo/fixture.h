// The one fixture of tests, fuzzers and benchmarks: a PKI and a directory with all files that the library needs to
// sign.
#ifndef ZEPASIGN_DEMO_FIXTURE_H_
#define ZEPASIGN_DEMO_FIXTURE_H_

#include <string>

#include "demo/containers.h"
#include "demo/files.h"

namespace zepasign::demo {

// The PFX's password "pfx-password" in the two encrypted forms, as the openssl command makes them with the fixture's
// PSWD.license: under that key as the IV too, for PFX.pswdB64; and under the SHA-256 of kAuthKey, for a caller who
// gives it to ZEPASignInitial beside PSWD.authKey.
inline constexpr const char* kStoredPassword = "Wlapc7Zr+9BjfkfFXz8jKw==";
inline constexpr const char* kAuthKey = "auth";
inline constexpr const char* kCallersPassword = "uU6LS/1UEKdF1HILDZifew==";

// Fixture: a root, a CA and a signer; a directory with the signer's PFX, which holds no CA certificates, a chain file
// and a CRL; and the properties with which initialisation succeeds. A user changes `properties` or writes other files
// into the directory, then asks for `propertyFile`.
struct Fixture : Pki {
  // With a key of the caller's choice for the signer; null: RSA with 2048 bits, the same in the whole process.
  explicit Fixture(const Key& signerKey = {});

  // addChain: names the chain file and the CRL in the properties; without it the library knows no chain.
  void addChain();

  // propertyFile: writes the properties into the directory and returns the file's path.
  [[nodiscard]] std::string propertyFile() const { return directory.write("app.properties", propertyText(properties)); }

  TempDirectory directory = {};
  Properties properties;
};

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_FIXTURE_H_
