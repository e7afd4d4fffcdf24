// Whether a signature is valid: its value over the content, and the signer's certificate against the authorities and
// CRLs that the user trusts, at a time that the user chooses. The crypto library decides; this unit gives it the
// question and names the answer.
//
// RFC 2315, section 9, defines the signature and its attributes; RFC 5280, section 6, the path from a certificate to a
// trusted one, and CRLs. Nothing is fetched from the network.
//
// Thread rule: one thread at a time; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_FILES_SIGNATURE_CHECK_H_
#define ZEPASIGN_TOOLS_FILES_SIGNATURE_CHECK_H_

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
  // addAuthorities, addCrls: from a file (PEM, DER, P7B, Base64) or from all files of a folder. False when none is
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

// CheckTime: when the chain must have been valid: now, at a given time, or when the signer says that it signed.
struct CheckTime {
  bool atSigning = false;
  std::optional<std::time_t> time = {};  // nothing: now
};

// parseTime: "signing", or a time in UTC: 2026-01-31, 2026-01-31T08:15:00Z. False when the text is neither. `time` is
// set only on success; a date stands for the beginning of that day.
[[nodiscard]] bool parseTime(const std::string& text, CheckTime& time);

// Question: what is asked about one signature. `content` is the signed content of a detached signature, null when the
// user has none; it is read to its end. All pointers are borrowed.
struct Question {
  PKCS7* pkcs7;
  BIO* content;
  const Trust& trust;
  CheckTime time;
};

// checkSignature: the verdict, the gravest one of several signers. Adds to `report`: reason, in words, when it is not
// valid, and signers, each with its chain. If the certificate of any signer is not found, no chain is built. REQUIRES:
// question.pkcs7 is signed data; report is an object or null.
[[nodiscard]] Verdict checkSignature(const Question& question, Json& report);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_SIGNATURE_CHECK_H_
