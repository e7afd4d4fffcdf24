// CryptoFile: what a file of this trade holds, whether it is DER, PEM or the Base64 text that the library gives.
#ifndef ZEPASIGN_TOOLS_FILES_CRYPTOFILE_H_
#define ZEPASIGN_TOOLS_FILES_CRYPTOFILE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "pki/openssl.h"

namespace zepasign::tools {

using X509ReqPtr = std::unique_ptr<X509_REQ, FreeWith<X509_REQ_free>>;

struct CryptoFile {
  bool isDer = false;  // not in PEM armour, not Base64: the only form that the library itself reads
  std::vector<X509Ptr> certificates = {};
  std::vector<X509CrlPtr> crls = {};
  Pkcs7Ptr pkcs7 = {};  // signed data: a signature or a chain
  Pkcs12Ptr pfx = {};
  X509ReqPtr request = {};    // a certificate signing request
  bool hasPemObject = false;  // at least one, of whatever kind: a private key is one of no kind above

  [[nodiscard]] bool isEmpty() const { return certificates.empty() && crls.empty() && !pkcs7 && !pfx && !request; }
};

// kMaxFileLength: longer files are none of ours; the library's lengths have 31 bits.
inline constexpr std::size_t kMaxFileLength = 0x7FFFFFFF;

// mayBeKnown: whether a file that begins with these bytes can be one of ours: DER, or text. Tells a device that never
// ends from a file without reading it all.
[[nodiscard]] bool mayBeKnown(std::string_view head);

// parseCryptoFile: empty when the bytes are nothing of the kind. readCryptoFile: the same for a file; false when it
// cannot be read.
[[nodiscard]] CryptoFile parseCryptoFile(const std::string& bytes);
[[nodiscard]] bool readCryptoFile(const std::string& path, CryptoFile& file);

// fromBase64: the bytes of Base64 text, blanks and line ends skipped.
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

// openPfx: false with a wrong password, without a MAC or with too many rounds, or when it is damaged.
[[nodiscard]] bool openPfx(PKCS12* pfx, const std::string& password, PfxContent& content);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_CRYPTOFILE_H_
