// cSignedData: a PKCS#7 signed-data (RFC 2315, section 9) around content that stays where it is.
//
//   head_ | content (when embedded) | tail_        the DER, in three pieces
//
// The crypto library builds and encodes everything except the content itself, which is hashed once where it lies and
// never copied into a structure; only the headers that enclose the content are written anew. The result is byte for byte
// what the crypto library writes for the whole.
#ifndef ZEPASIGN_PKI_CSIGNEDDATA_H_
#define ZEPASIGN_PKI_CSIGNEDDATA_H_

#include <array>
#include <span>
#include <vector>

#include "pki/openssl.h"

namespace zepasign {

class cSignedData final {
 public:
  using Bytes = std::span<const unsigned char>;

  // Options: what goes into the signature. All pointers are borrowed for the time of `sign`.
  struct Options {
    const EVP_MD* digest;
    X509* signer;
    EVP_PKEY* key;
    bool addSigner;
    STACK_OF(X509) * chain;  // added from the last to the first; null for none
    bool addAttributes;      // content type, signing time (now) and, as they are there, the message digest
    bool embedContent;
  };

  // sign: makes the signature over `content`, which must outlive the pieces. Returns 0, 5002 (no memory, or the Base64
  // text of the result would pass the 32-bit length; such content is refused before it is hashed) or 5061.
  [[nodiscard]] int sign(const Options& options, Bytes content);

  // pieces: the DER of the last successful `sign`, at most INT_MAX bytes together.
  [[nodiscard]] std::array<Bytes, 3> pieces() const noexcept { return {Bytes(head_), content_, Bytes(tail_)}; }
  // size: of the pieces together.
  [[nodiscard]] std::size_t size() const noexcept { return head_.size() + content_.size() + tail_.size(); }

 private:
  [[nodiscard]] int encode(PKCS7* pkcs7, bool embedContent, Bytes content);
  [[nodiscard]] bool embed(Bytes detached, Bytes content);

  std::vector<unsigned char> head_;
  std::vector<unsigned char> tail_;
  Bytes content_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CSIGNEDDATA_H_
