// A throwaway PKI to play with: a CA whose key is forgotten at once, and what it issued.
#ifndef ZEPASIGN_TOOLS_DEMO_FILES_H_
#define ZEPASIGN_TOOLS_DEMO_FILES_H_

#include <string>

namespace zepasign::tools {

inline constexpr const char* kDemoPassword = "demo-password";

// DemoFiles: the bytes of the files, and the key identifier of the CA.
struct DemoFiles {
  std::string pfx;    // the signer's key and certificate, opened with kDemoPassword
  std::string chain;  // P7B (DER) with the CA
  std::string crl;    // DER
  std::string ca;     // the CA in PEM, for those who verify
  std::string ski;
};

// makeDemo: throws std::runtime_error when the crypto library refuses.
[[nodiscard]] DemoFiles makeDemo();

// randomHex: that many random bytes in hexadecimal.
[[nodiscard]] std::string randomHex(std::size_t bytes);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_DEMO_FILES_H_
