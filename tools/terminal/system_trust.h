// Which servers the system trusts. One whole file per system implements this (system_trust_posix.cpp,
// system_trust_windows.cpp).
#ifndef ZEPASIGN_TOOLS_TERMINAL_SYSTEM_TRUST_H_
#define ZEPASIGN_TOOLS_TERMINAL_SYSTEM_TRUST_H_

#include <openssl/ssl.h>

namespace zepasign::tools {

// trustSystem: lets a TLS context trust the root certificates of the system: on POSIX those in the crypto library's own
// file and directory, on Windows those in the store ROOT. False when they cannot be had, with the reason in the crypto
// library's error queue where it knows one.
[[nodiscard]] bool trustSystem(SSL_CTX* context);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_SYSTEM_TRUST_H_
