// Whether a certificate leads to one that the user trusts, at a given time. The crypto library builds the path and
// judges it (RFC 5280, section 6); this unit gives it the question and names the answer. Nothing is fetched from the
// network.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_FILES_CHAIN_CHECK_H_
#define ZEPASIGN_TOOLS_FILES_CHAIN_CHECK_H_

#include <ctime>
#include <optional>
#include <string>

#include "tools/files/cryptofile.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {

// Verdict: what is wrong with a signature, the gravest thing last. Each has one word in JSON (see wordOf) and the
// exit codes of `zepasign verify` follow it.
enum class Verdict {
  kValid,
  kIncomplete,  // content, certificate, signing time or CRL is missing, so nothing can be said
  kExpired,     // a certificate of the chain has expired, or is not valid yet
  kUntrusted,   // no path to a trusted certificate
  kRevoked,     // a CRL names a certificate of the chain
  kChanged,     // content or signature is not what the signer made
  kUnreadable   // no signature at all
};

// wordOf: "valid", "incomplete", "expired" and so on; programs depend on these words.
[[nodiscard]] const char* wordOf(Verdict verdict);

// Trust: what the user believes. Without authorities the chain is not judged.
class Trust final {
 public:
  // addAuthorities, addCrls: from a file (PEM, DER, P7B, Base64) or from all files of a directory. False when none is
  // found there. Every certificate found is a trust anchor, also one that is no root. Files of another kind are passed
  // over. What was found is added to what earlier calls found. With CRLs, the signer's certificate needs one of its
  // issuer, while a CA is checked only if there is one of the CA's issuer.
  [[nodiscard]] bool addAuthorities(const std::string& path);
  [[nodiscard]] bool addCrls(const std::string& path);

  [[nodiscard]] bool isEmpty() const { return sk_X509_num(authorities_.get()) == 0; }
  [[nodiscard]] bool hasCrls() const { return hasCrls_; }
  // store, authorities: borrowed. They are valid as long as this object. `store` holds the authorities and the CRLs,
  // `authorities` also serves to find a signer's certificate that the signature does not carry.
  [[nodiscard]] X509_STORE* store() const { return store_.get(); }
  [[nodiscard]] STACK_OF(X509) * authorities() const { return authorities_.get(); }

 private:
  void addAuthority(X509* certificate);

  X509StorePtr store_ = X509StorePtr(X509_STORE_new());
  X509ListPtr authorities_ = X509ListPtr(sk_X509_new_null());
  bool hasCrls_ = false;
};

// Finding: a verdict and, unless it is kValid, the reason in words (UTF-8).
struct Finding {
  Verdict verdict = Verdict::kValid;
  std::string reason = {};
};

// keepWorse: replaces `worst` if `next` is graver.
void keepWorse(Finding& worst, Finding next);

// ChainQuestion: what is asked about one certificate. All pointers are borrowed. `others` are certificates from which
// the path may be built; null when there are none. `time` is when the path must be valid, nothing means now. `madeAt`
// is the time in a time stamp: a revocation after it, for a reason that is no compromise of the key, does not count.
struct ChainQuestion {
  // A signer may use its certificate for anything; that of a time-stamping authority must be made for that alone (RFC
  // 3161, section 2.3).
  enum class Purpose { kAny, kTimeStamping };

  X509* certificate;
  STACK_OF(X509) * others;
  const Trust& trust;
  std::optional<std::time_t> time = {};
  Purpose purpose = Purpose::kAny;
  std::optional<std::time_t> madeAt = {};
};

// checkChain: kValid without a judgement when nothing is trusted. Adds to `report`: chain, the names from the
// certificate upwards, and trusted, null when nothing is trusted. REQUIRES: report is an object or null.
[[nodiscard]] Finding checkChain(const ChainQuestion& question, Json& report);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_CHAIN_CHECK_H_
