// Whether a signature is valid: its value over the content, and the signer's certificate against the authorities and
// CRLs that the user trusts, at a time that the user chooses. The crypto library decides; this unit gives it the
// question and names the answer.
//
// RFC 2315, section 9, defines the signature and its attributes.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_FILES_SIGNATURE_CHECK_H_
#define ZEPASIGN_TOOLS_FILES_SIGNATURE_CHECK_H_

#include <ctime>
#include <optional>
#include <string>

#include "tools/files/chain_check.h"

namespace zepasign::tools {

// CheckTime: when the chain must have been valid: now, at a given time, or when it was signed: at the time of a trusted
// time stamp or, without one, when the signer says.
struct CheckTime {
  bool atSigning = false;
  std::optional<std::time_t> time = {};  // nothing: now
};

// parseTime: "signing", or a time in UTC: 2026-01-31, 2026-01-31T08:15:00Z. False when the text is neither. `time` is
// set only on success; a date stands for the beginning of that day.
[[nodiscard]] bool parseTime(const std::string& text, CheckTime& time);

// Question: what is asked about one signature. `content` is the signed content of a detached signature, null when the
// user has none; it is read to its end. With `authorities`, every signature needs a valid time stamp that leads to one
// of them: a time stamp can be taken away without a trace, and then only the signer's word would be left. All pointers
// are borrowed.
struct Question {
  PKCS7* pkcs7;
  BIO* content;
  const Trust& trust;
  const Trust& authorities;
  CheckTime time;
};

// TimeSource: who says at what time the certificates of a signer are judged. Each has one word in JSON: "nobody" (the
// time of the check), "user", "signer" and "authority".
enum class TimeSource { kNobody, kUser, kSigner, kAuthority };

// checkSignature: the verdict, the gravest one of several signers. Adds to `report`: reason, in words, when it is not
// valid; proofEnds and daysLeft, when the certificate of the signer expires or, with time stamps, that of the last
// authority, the earliest of several signers; and signers, each with its chain, its time stamps, timeSource and
// judgedAt. If the certificate of any signer is not found, no chain is built. REQUIRES: question.pkcs7 is signed data;
// report is an object or null.
[[nodiscard]] Verdict checkSignature(const Question& question, Json& report);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_SIGNATURE_CHECK_H_
