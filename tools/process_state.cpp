// The log and the crypto context of the foundation's objects that the tool uses for its own inspections. The library
// has its own of both.
#include "base/clog.h"
#include "pki/openssl.h"

namespace zepasign {

cLog logger;                   // NOLINT(cert-err58-cpp): without memory for these there is no program
cCryptoContext cryptoContext;  // NOLINT(cert-err58-cpp)

}  // namespace zepasign
