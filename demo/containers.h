// The files that the library reads, PFX, P7B and CRL, as bytes.
#ifndef ZEPASIGN_DEMO_CONTAINERS_H_
#define ZEPASIGN_DEMO_CONTAINERS_H_

#include <string>
#include <vector>

#include "demo/certificates.h"

namespace zepasign::demo {

// PfxForm: modern is AES-256 under a SHA-256 MAC; legacy is RC2-40 and triple DES under a SHA-1 MAC, as older software
// writes them; unencrypted has a SHA-256 MAC alone.
enum class PfxForm { modern, legacy, unencrypted, withoutMac };

// PfxPlan: an identity without its key or without its certificate makes a PFX without it.
struct PfxPlan {
  Identity identity = {};
  std::vector<Certificate> caCertificates = {};
  std::string password = "pfx-password";
  PfxForm form = PfxForm::modern;
  int iterations = 8;  // few: quick to load, and weak against guessing
};
[[nodiscard]] std::string makePfx(const PfxPlan& plan);

// makeP7b: a degenerate signed-data structure of certificates and CRLs (DER); both may be empty.
[[nodiscard]] std::string makeP7b(const std::vector<Certificate>& certificates,
                                  const std::vector<std::string>& crls = {});

struct CrlPlan {
  Identity issuer = {};
  std::vector<std::string> serials = {};  // hexadecimal; duplicates stay
  std::string lastUpdate = "20200101000000Z";
  std::string nextUpdate = "20991231235959Z";  // empty: the field is left out
};
[[nodiscard]] std::string makeCrl(const CrlPlan& plan);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_CONTAINERS_H_
