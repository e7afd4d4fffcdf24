// The time stamps of a signature. A time stamp is a token (RFC 3161): signed data in which an authority says at what
// time some bytes existed. It stands in the unsigned attribute id-aa-timeStampToken of a signer (RFC 3161, appendix A)
// and covers that signer's signature value. Unsigned attributes are not part of what was signed, so that one can be
// added at any time.
//
// A token is signed data itself, with a signer and a signature value of its own. Before its authority's certificate
// expires, the next token is added to it in the same way:
//
//   signer of the file         signature value
//     token 1                  covers that value;     its signer's signature value
//       token 2                covers that of token 1;      ...
//
// So each token proves that the one before it existed while the certificate of its authority was still valid, and the
// first one proves it of the signature. Every program that knows RFC 3161 can verify each step.
//
// Thread rule: one thread at a time per object; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_FILES_TIMESTAMP_H_
#define ZEPASIGN_TOOLS_FILES_TIMESTAMP_H_

#include <openssl/ts.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/files/cryptofile.h"
#include "tools/terminal/io.h"

namespace zepasign::tools {

using TstInfoPtr = std::unique_ptr<TS_TST_INFO, FreeWith<TS_TST_INFO_free>>;

// kMaxTokens: in one signature; one every year lasts a century. What is nested deeper is not looked at.
inline constexpr std::size_t kMaxTokens = 100;

// signatureValueOf: the bytes that a time stamp of this signer covers, borrowed.
[[nodiscard]] std::string_view signatureValueOf(const PKCS7_SIGNER_INFO* signer);

// onlySigner: of signed data with exactly one signer, borrowed; null for any other.
[[nodiscard]] PKCS7_SIGNER_INFO* onlySigner(const PKCS7* signedData);

// tokensOf: the tokens of a signer, the oldest first. Where several stand side by side, as other programs may write
// them, the first one counts.
[[nodiscard]] std::vector<Pkcs7Ptr> tokensOf(const PKCS7_SIGNER_INFO* signer);

// hasUnreadableToken: whether something else stands where the token after the last one of tokensOf would be.
[[nodiscard]] bool hasUnreadableToken(const PKCS7_SIGNER_INFO* signer);

// valueToStamp: what the next time stamp of the only signer must cover: its signature value, or that of its last token.
// A copy; empty when there is not exactly one signer.
[[nodiscard]] std::string valueToStamp(const PKCS7* signedData);

// authorityOf: the certificate of the authority that made a token, borrowed from it; null when it does not carry it.
[[nodiscard]] X509* authorityOf(PKCS7* token);

// takesToken: whether a token can be added: there is exactly one signer, no tokens stand side by side, all can be read,
// and there are less than kMaxTokens.
[[nodiscard]] bool takesToken(const PKCS7* signedData);

// addToken: adds the DER of a token to the only signer, inside the last token that is there. False unless takesToken;
// also when memory runs out, and then `signedData` may be changed. The token is not verified.
[[nodiscard]] bool addToken(PKCS7* signedData, std::string token);

// describeToken: time, authority, the end of its certificate, policy, digest and serial number.
[[nodiscard]] Json describeToken(PKCS7* token);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_TIMESTAMP_H_
