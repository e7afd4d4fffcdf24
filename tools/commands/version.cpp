#include "tools/commands/version.h"

#include "api/ZEPASignDLL.h"
#include "build_id.h"
#include "pki/openssl.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

using CipherPtr = std::unique_ptr<EVP_CIPHER, FreeWith<EVP_CIPHER_free>>;

// hasLegacyCiphers: asks for the cipher of old PFX files that only the legacy provider has.
bool hasLegacyCiphers() {
  const ErrorScope errors;
  return CipherPtr(EVP_CIPHER_fetch(nullptr, "RC2-40-CBC", nullptr)) != nullptr;
}

}  // namespace

std::string versionText() {
  const std::string old = hasLegacyCiphers() ? tr("open"_m) : tr("do not open: OpenSSL's legacy provider is missing"_m);
  return "zepasign " + std::string(GetPkiVersion()) + "\n" + toTerminal(tr("build: {0}"_m, {kBuildId})) + "\n" +
         OpenSSL_version(OPENSSL_VERSION) + "\n" + toTerminal(tr("PFX files with RC2 or 3DES: {0}"_m, {old}));
}

}  // namespace zepasign::tools
