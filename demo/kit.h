// The files that `zepasign init --demo` writes: a new PKI each time, whose root and CA keys are dropped at once, so
// that nobody can issue more below it. Nothing is written here; the command writes the bytes. One thread at a time.
//
// The signer's certificate and the CRL are valid for a year from now, the root and the CA for ten years.
#ifndef ZEPASIGN_DEMO_KIT_H_
#define ZEPASIGN_DEMO_KIT_H_

#include <string>

namespace zepasign::demo {

// kPassword: opens the demo's PFX. It is public; the PFX is for trying out only.
inline constexpr const char* kPassword = "demo-password";

// Kit: the bytes of the files, and the subject key identifier of the CA in hexadecimal, for P7B0.SKI.
struct Kit {
  std::string pfx;    // the signer's key and certificate, opened with kPassword
  std::string chain;  // P7B (DER) with the CA and the root
  std::string crl;    // DER, of the CA; nothing is revoked
  std::string ca;     // the CA and the root in PEM, for those who verify
  std::string ski;
};

// makeKit: takes some tenths of a second, since it makes a new RSA key for the signer; the CAs have P-256 keys. Throws
// std::runtime_error when libcrypto refuses.
[[nodiscard]] Kit makeKit();

// randomHex: `bytes` random bytes of libcrypto's generator as twice as many upper-case hexadecimal digits, for serial
// numbers and PSWD.license. Throws std::runtime_error.
[[nodiscard]] std::string randomHex(std::size_t bytes);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_KIT_H_
