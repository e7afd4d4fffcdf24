// The four objects that live as long as the library is loaded. They are made in this order, when it is loaded, and
// destroyed in the opposite order, when it is unloaded or the process ends:
//
//   logger         first and last, since all others write to it
//   cryptoContext  before the chains and the signer, which hold certificates and keys of it
//   certChainList  before the signer, whose signatures may hold certificates of a chain
//   signer         constant-initialised, so only its destruction is registered here
//
// What a host calls after that, in an exit handler, finds the crypto context gone: signing gives 5002, queries null.
#include "api/zepasign.h"
#include "base/clog.h"
#include "pki/ccertchainlist.h"
#include "pki/openssl.h"

namespace zepasign {

// NOLINTBEGIN(cert-err58-cpp): they throw only if there is no memory for a few bytes when the library is loaded
cLog logger;
cCryptoContext cryptoContext;
// NOLINTEND(cert-err58-cpp)
cCertChainList certChainList;
constinit ZEPASign signer;

}  // namespace zepasign
