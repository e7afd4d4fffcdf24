// Adding time stamps to signatures: what `sign --tsa` and `stamp` have in common.
//
// A signature is changed in memory: the token is checked before it is added, and the changed signature is read again
// and checked before anybody gets it. A failure leaves the signature as it was.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_COMMANDS_STAMPING_H_
#define ZEPASIGN_TOOLS_COMMANDS_STAMPING_H_

#include <string>
#include <vector>

#include "tools/commands/options.h"
#include "tools/commands/outcome.h"
#include "tools/files/chain_check.h"

namespace zepasign::tools {

// StampOptions: the options that say where time stamps come from and who is trusted. `url` is that of the authority;
// `authorities` and `tlsAuthorities` are files or directories with certificates. Times are in seconds.
struct StampOptions {
  std::string url;
  std::string authorities;
  std::string tlsAuthorities;
  unsigned timeout = 30;
  unsigned retries = 3;
};

// addStampOptions: --tsa, --tsa-ca, --tls-ca, --timeout and --retries; returns --tsa.
Option addStampOptions(const Command& command, StampOptions& options);
// argumentsOf: the same options with these values, for a worker process.
[[nodiscard]] std::vector<std::string> argumentsOf(const StampOptions& options);

// Codes of the library's table for what happens here.
inline constexpr int kNotPkcs7 = 5042;
inline constexpr int kTokenInvalid = 5062;
inline constexpr int kAuthorityUnreachable = 5904;

class Stamper final {
 public:
  // Stamper: the options are copied.
  explicit Stamper(StampOptions options) : options_(std::move(options)) {}

  // prepare: reads the certificates to trust; false, after an error message, when there are none in a file that the
  // user named. Call it first.
  [[nodiscard]] bool prepare();

  // stamp: asks the authority for a token and adds it to the bytes of a signature file. A signature that could not take
  // the token is refused before the authority is asked, which may cost money. When the authority is silent, it asks
  // again after one second, two, four and so on; an interruption ends the waiting.
  [[nodiscard]] Outcome stamp(std::string& signature) const;

  // The two halves of `stamp` for a machine without network. queryFor: sets the DER of the query, which has no nonce.
  // addReply: adds the token that the authority's reply to it holds.
  [[nodiscard]] Outcome queryFor(const std::string& signature, std::string& query) const;
  [[nodiscard]] Outcome addReply(std::string& signature, const std::string& reply) const;

  // isStamped: whether the signature has time stamps that are valid, and stay so for that many days as far as the
  // certificate of the last authority is concerned.
  [[nodiscard]] bool isStamped(const std::string& signature, int days) const;

 private:
  [[nodiscard]] Outcome open(const std::string& signature, CryptoFile& file) const;
  [[nodiscard]] Outcome proofProblem(const PKCS7_SIGNER_INFO* signer) const;
  [[nodiscard]] Outcome add(std::string& signature, PKCS7* signedData, const std::string& token) const;

  const StampOptions options_;
  Trust authorities_;
  Trust tlsAuthorities_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_STAMPING_H_
