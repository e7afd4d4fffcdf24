// The files that the library reads, PFX, P7B and CRL, as bytes, and a look into the signatures that it makes. Write
// the bytes with TempFolder::write; wrap them with pemOf for the PEM variants that must be refused.
#ifndef ZEPASIGN_TESTS_SUPPORT_CONTAINERS_H_
#define ZEPASIGN_TESTS_SUPPORT_CONTAINERS_H_

#include <string>
#include <vector>

#include "tests/support/certificates.h"

namespace zepasign::testing {

// PfxForm: modern is AES-256 under a SHA-256 MAC; legacy is RC2-40 and triple DES under a SHA-1 MAC, as older software
// writes them.
enum class PfxForm { modern, legacy, withoutMac };

// PfxSpec: an identity without its key or without its certificate makes a PFX without it.
struct PfxSpec {
  Identity identity = {};
  std::vector<Certificate> caCertificates = {};
  std::string password = "pfx-password";
  PfxForm form = PfxForm::modern;
};
[[nodiscard]] std::string makePfx(const PfxSpec& spec);

// makeP7b: a degenerate signed-data structure of certificates and CRLs (DER); both may be empty.
[[nodiscard]] std::string makeP7b(const std::vector<Certificate>& certificates,
                                  const std::vector<std::string>& crls = {});

struct CrlSpec {
  Identity issuer = {};
  std::vector<std::string> serials = {};  // hexadecimal; duplicates stay
  std::string lastUpdate = "20200101000000Z";
  std::string nextUpdate = "20991231235959Z";  // empty: the field is left out
};
[[nodiscard]] std::string makeCrl(const CrlSpec& spec);

// SignatureFacts: what stands in a signed-data structure about its first signer.
struct SignatureFacts {
  std::string digest = {};  // short name, "SHA256"
  bool detached = false;
  std::vector<std::string> certificates = {};  // DER, in the order of the structure; compare with derOf
  std::vector<std::string> attributes = {};    // short names of the signed attributes, in order
};

// factsOf: reads the DER of a signature; throws when it is no signed data.
[[nodiscard]] SignatureFacts factsOf(const std::string& der);

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_CONTAINERS_H_
