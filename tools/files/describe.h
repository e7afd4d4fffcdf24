// Certificates, signatures and their kin as listings.
#ifndef ZEPASIGN_TOOLS_FILES_DESCRIBE_H_
#define ZEPASIGN_TOOLS_FILES_DESCRIBE_H_

#include <ctime>
#include <optional>
#include <string>

#include "tools/files/cryptofile.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {

// nameText: "C=TW, O=..., CN=..." in UTF-8.
[[nodiscard]] std::string nameText(const X509_NAME* name);
// keyText: the kind and the bits of a key, "RSA 2048".
[[nodiscard]] std::string keyText(const EVP_PKEY* key);
// timeText: 2026-01-31T08:15:00Z; null when there is no time.
[[nodiscard]] Json timeText(const ASN1_TIME* time);
// signingTimeOf: the time that the signer claims (the signed attribute signingTime), borrowed; null when there is none.
[[nodiscard]] const ASN1_TIME* signingTimeOf(const PKCS7_SIGNER_INFO* signer);
// timeOf: seconds since 1970 (UTC); nothing when there is no valid time.
[[nodiscard]] std::optional<std::time_t> timeOf(const ASN1_TIME* time);
// daysUntil: whole days from now; negative when the time has passed.
[[nodiscard]] int daysUntil(const ASN1_TIME* time);

// chainProblem: what an X509_V_ERR code means; the crypto library's own words for the rarer ones.
[[nodiscard]] std::string chainProblem(int code);

[[nodiscard]] Json describeCertificate(X509* certificate);
[[nodiscard]] Json describeCrl(X509_CRL* crl);
// describeSigner: who signed, with which digest, the signed attributes, and the time stamps if there are any. The
// certificate is found among `candidates`.
[[nodiscard]] Json describeSigner(PKCS7_SIGNER_INFO* signer, STACK_OF(X509) * candidates);
// describePkcs7: a signature, or a chain when nobody signed it.
[[nodiscard]] Json describePkcs7(PKCS7* pkcs7);
// describeRequest: a certificate signing request.
[[nodiscard]] Json describeRequest(X509_REQ* request);
// describePfx: the outside alone when the password does not open it.
[[nodiscard]] Json describePfx(PKCS12* pfx, const std::string& password);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_DESCRIBE_H_
