// Whether the time stamps of a signature hold, and what time they prove.
//
// Thread rule: one thread at a time; a CryptoScope must be open, and no ErrorScope whose errors are still needed.
#ifndef ZEPASIGN_TOOLS_FILES_TIMESTAMP_CHECK_H_
#define ZEPASIGN_TOOLS_FILES_TIMESTAMP_CHECK_H_

#include <ctime>
#include <optional>
#include <string>

#include "tools/files/chain_check.h"

namespace zepasign::tools {

// TimeStampQuestion: what is asked about the time stamps of one signer. The last token must hold at `time`, nothing
// means now, or when it was made if that is later; each earlier one when the next was made. `authorities` are those
// whose word the user believes; their CRLs count for the authorities that these revoke. Borrowed.
struct TimeStampQuestion {
  const PKCS7_SIGNER_INFO* signer;
  const Trust& authorities;
  std::optional<std::time_t> time = {};
};

// TimeProof: the finding over all tokens, and when they say that the signature existed: the time and the authority of
// the first token, set when all tokens are valid and lead to a trusted authority.
struct TimeProof {
  Finding finding = {};
  std::optional<std::time_t> time = {};
  std::string authority = {};
};

// checkTimeStamps: kValid without tokens; kChanged when a token is damaged or covers something else. Adds to `report`
// timeStamps, a list of what describeToken says with the chain of each; nothing without tokens.
[[nodiscard]] TimeProof checkTimeStamps(const TimeStampQuestion& question, Json& report);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_TIMESTAMP_CHECK_H_
