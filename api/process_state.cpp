// Everything that lives as long as the process, in the order in which it comes to life; it goes in the opposite order.
// The log is first and last, since all others write to it. The signer is constant-initialised and only its end is
// registered here: it may still hold a key of the crypto context, and its certificates may be those of a chain.
#include "api/zepasign.h"
#include "base/clog.h"
#include "pki/ccertchainlist.h"
#include "pki/openssl.h"

namespace zepasign {

// NOLINTBEGIN(cert-err58-cpp): what throws here finds no memory for a few bytes before the host has begun
cLog logger;
cCryptoContext cryptoContext;
// NOLINTEND(cert-err58-cpp)
cCertChainList certChainList;
constinit ZEPASign signer;

}  // namespace zepasign
