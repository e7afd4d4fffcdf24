// A throwaway PKI to play with: a CA whose key is forgotten at once, and what it issued.
#ifndef ZEPASIGN_DEMO_KIT_H_
#define ZEPASIGN_DEMO_KIT_H_

#include <string>

namespace zepasign::demo {

inline constexpr const char* kPassword = "demo-password";

// Kit: the bytes of the files, and the key identifier of the CA.
struct Kit {
  std::string pfx;    // the signer's key and certificate, opened with kPassword
  std::string chain;  // P7B (DER) with the CA
  std::string crl;    // DER
  std::string ca;     // the CA in PEM, for those who verify
  std::string ski;
};

// makeKit: throws std::runtime_error when the crypto library refuses.
[[nodiscard]] Kit makeKit();

// randomHex: that many random bytes in hexadecimal.
[[nodiscard]] std::string randomHex(std::size_t bytes);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_KIT_H_
