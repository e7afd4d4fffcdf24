// Everything that lives as long as the process, in the order in which it comes to life; it goes in the opposite order.
// The log is first and last, since all others write to it. The signer is constant-initialised and only its end is
// registered here: it may still hold a key of the crypto context, and its certificates may be those of a chain.
#include "api/zepasign.h"
#include "base/clog.h"
#include "pki/ccertchainlist.h"
#include "pki/openssl.h"

namespace zepasign {

cLog logger;
cCryptoContext cryptoContext;
cCertChainList certChainList;
constinit ZEPASign signer;

}  // namespace zepasign
