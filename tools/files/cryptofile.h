// CryptoFile: what a file of this trade holds, whether it is DER, PEM or the Base64 text that the library gives.
//
// DER is the binary encoding (X.690); PEM is Base64 between boundaries with a label (RFC 7468); the library's text is
// Base64 alone (RFC 4648). The objects are certificates and CRLs (RFC 5280), PKCS#7 signed data (RFC 2315), PFX (RFC
// 7292) and signing requests (RFC 2986).
//
// Thread rule: one thread at a time per object; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_FILES_CRYPTOFILE_H_
#define ZEPASIGN_TOOLS_FILES_CRYPTOFILE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "pki/openssl.h"

namespace zepasign::tools {

using Asn1TimePtr = std::unique_ptr<ASN1_TIME, FreeWith<ASN1_TIME_free>>;
using X509ReqPtr = std::unique_ptr<X509_REQ, FreeWith<X509_REQ_free>>;

// CryptoFile: owns the objects that were decoded. A PEM file may hold several; of pkcs7, pfx and request the last one
// is kept.
struct CryptoFile {
  bool isDer = false;  // neither PEM (RFC 7468) nor Base64: the only form that the library itself reads
  std::vector<X509Ptr> certificates = {};
  std::vector<X509CrlPtr> crls = {};
  Pkcs7Ptr pkcs7 = {};  // signed data: a signature or a chain
  Pkcs12Ptr pfx = {};
  X509ReqPtr request = {};    // a certificate signing request
  bool hasPemObject = false;  // at least one, of whatever kind: a private key is one of no kind above

  // isEmpty: whether nothing was decoded. A file with only a private key in PEM is empty, but has hasPemObject set.
  [[nodiscard]] bool isEmpty() const { return certificates.empty() && crls.empty() && !pkcs7 && !pfx && !request; }
};

// kMaxFileLength: longer files are none of ours; the library's lengths have 31 bits.
inline constexpr std::size_t kMaxFileLength = 0x7FFFFFFF;

// mayBeKnown: whether a file that begins with these bytes can be one of ours: DER, or text. Tells a device that never
// ends from a file without reading it all.
[[nodiscard]] bool mayBeKnown(std::string_view head);

// parseCryptoFile: empty when the bytes are nothing of the kind. readCryptoFile: the same for a file; false when it
// cannot be read. A DER object must fill the bytes exactly. More than kMaxFileLength bytes give an empty object. `file`
// is left as it was when the file cannot be read, is too long, or is ruled out by mayBeKnown.
[[nodiscard]] CryptoFile parseCryptoFile(const std::string& bytes);
[[nodiscard]] bool readCryptoFile(const std::string& path, CryptoFile& file);

// fromBase64: the bytes of Base64 text, blanks and line ends skipped. No text is refused; base64::decode tells what an
// invalid one gives.
[[nodiscard]] std::string fromBase64(const std::string& text);

// certificatesOf, signersOf: of signed data, borrowed; null when there are none.
[[nodiscard]] STACK_OF(X509) * certificatesOf(const PKCS7* pkcs7);
[[nodiscard]] STACK_OF(PKCS7_SIGNER_INFO) * signersOf(const PKCS7* pkcs7);

// PfxContent: what a PFX held. The list owns its certificates.
inline void freeStackAndCertificates(STACK_OF(X509) * stack) noexcept { sk_X509_pop_free(stack, X509_free); }
using X509ListPtr = std::unique_ptr<STACK_OF(X509), FreeWith<freeStackAndCertificates>>;
struct PfxContent {
  EvpPkeyPtr key = {};
  X509Ptr certificate = {};
  X509ListPtr others = {};
};

// openPfx: false with a wrong password, without a MAC or with too many iterations, or when it is damaged. A PFX whose
// MAC needs more than kMaxMacIterations is not tried. Key and certificate may be null in a PFX that opened. `content`
// is set only on success.
[[nodiscard]] bool openPfx(PKCS12* pfx, const std::string& password, PfxContent& content);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_CRYPTOFILE_H_
