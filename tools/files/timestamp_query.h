// What is asked of a time-stamping authority, and whether the answer can be believed (RFC 3161, section 2.4). The
// crypto library decides; this unit words the answers for users.
//
// Whether the authority is one that the user trusts is another question; see chain_check.h.
//
// Thread rule: one thread at a time; a CryptoScope must be open, and no ErrorScope whose errors are still needed.
#ifndef ZEPASIGN_TOOLS_FILES_TIMESTAMP_QUERY_H_
#define ZEPASIGN_TOOLS_FILES_TIMESTAMP_QUERY_H_

#include <string>
#include <string_view>

#include "tools/files/chain_check.h"

namespace zepasign::tools {

// Nonce: a random number that the reply must repeat, so that an old reply cannot be passed off as a new one. A query
// whose reply comes by hand has none: the program that checks the reply does not know it.
enum class Nonce { kNone, kRandom };

// makeQuery: the DER of a query for a time stamp over the SHA-256 digest of the value, the authority's certificate
// included. Throws std::runtime_error when the crypto library cannot make it.
[[nodiscard]] std::string makeQuery(std::string_view value, Nonce nonce);

// Reply: the DER of the token, or why there is none (UTF-8).
struct Reply {
  std::string token = {};
  std::string problem = {};
};

// readReply: the token if the reply grants one that answers the query, by its imprint and nonce, and that is valid:
// signed by the authority whose certificate it carries and names (RFC 5035), which is made for time stamps, has not
// expired and, unless `authorities` is empty, leads to one of these. The reply must be DER.
[[nodiscard]] Reply readReply(const std::string& query, const std::string& reply, const Trust& authorities);

// tokenProblem: why a token is not a valid one over this value; empty when it is. Expiry and trust are not judged; the
// certificates of `authorities` only help to build the path.
[[nodiscard]] std::string tokenProblem(PKCS7* token, std::string_view value, const Trust& authorities);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_TIMESTAMP_QUERY_H_
