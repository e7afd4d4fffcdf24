// The files that the library reads, as bytes: PFX (PKCS #12, RFC 7292), P7B (a PKCS #7 structure that holds only
// certificates and CRLs, RFC 2315) and CRL (RFC 5280). What cannot be made throws std::runtime_error.
//
// Every function returns the whole file as a string of bytes and writes nothing; files.h writes it. Salts are random,
// so two PFX files of one plan differ. One thread at a time.
#ifndef ZEPASIGN_DEMO_CONTAINERS_H_
#define ZEPASIGN_DEMO_CONTAINERS_H_

#include <string>
#include <vector>

#include "demo/certificates.h"

namespace zepasign::demo {

// PfxForm: modern is AES-256 under a SHA-256 MAC; legacy is RC2-40 and triple DES under a SHA-1 MAC, as older software
// writes them, and needs OpenSSL's legacy provider; unencrypted has a SHA-256 MAC alone; withoutMac is modern without
// its MAC.
enum class PfxForm { modern, legacy, unencrypted, withoutMac };

// PfxPlan: what a PFX contains. An identity without its key or without its certificate makes a PFX without it, which
// the library refuses.
struct PfxPlan {
  Identity identity = {};
  std::vector<Certificate> caCertificates = {};
  std::string password = "pfx-password";
  PfxForm form = PfxForm::modern;
  int iterations = 8;  // few: quick to load, and weak against guessing
};

// makePfx: the DER of the PFX.
[[nodiscard]] std::string makePfx(const PfxPlan& plan);

// makeP7b: the DER of a chain file with these certificates and CRLs (DER each), in this order; both may be empty.
[[nodiscard]] std::string makeP7b(const std::vector<Certificate>& certificates,
                                  const std::vector<std::string>& crls = {});

// CrlPlan: what a CRL contains. It is issued in the name and with the key of `issuer`, which need not be a CA. Times
// are YYYYMMDDhhmmssZ or YYMMDDhhmmssZ, in UTC.
struct CrlPlan {
  Identity issuer = {};
  std::vector<std::string> serials = {};  // hexadecimal; duplicates stay
  std::string lastUpdate = "20200101000000Z";
  std::string nextUpdate = "20991231235959Z";  // empty: the field is left out
};

// makeCrl: the DER of the CRL, version 2, signed with SHA-256; every serial is revoked at `lastUpdate`.
[[nodiscard]] std::string makeCrl(const CrlPlan& plan);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_CONTAINERS_H_
