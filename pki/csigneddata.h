// cSignedData: PKCS#7 signed-data (RFC 2315, section 9) around content that stays where it is.
//
//   head_ | content (when embedded) | tail_        the DER, in three pieces
//
// The crypto library builds and encodes everything except the content itself, which is hashed once where it lies and
// never copied into a structure; only the headers that enclose the content are written anew. The result is byte for
// byte what the crypto library writes for the whole. What depends on the credential and the options alone is built once
// and used for every signature until one of them changes.
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

  // Options: what goes into the signatures. All pointers are borrowed and must stay valid as long as this object.
  struct Options {
    const EVP_MD* digest;
    X509* signer;
    EVP_PKEY* key;
    std::vector<X509*> certificates;  // in the order in which they are added
    bool addAttributes;               // content type, signing time (now) and, as they are there, the message digest
    bool embedContent;

    bool operator==(const Options&) const = default;
  };

  // prepare: builds what all signatures with these options share, unless that is what it built last. Returns 0, 5002
  // (no memory) or 5061.
  [[nodiscard]] int prepare(const Options& options);

  // sign: makes the signature over `content`, which must outlive the use of the pieces. Returns 0, 5002 (no memory, or
  // the Base64 text of the result would pass the 32-bit length; such content is refused before it is hashed) or 5061.
  // REQUIRES: the last `prepare` returned 0.
  [[nodiscard]] int sign(Bytes content);

  // pieces: the DER of the last successful `sign`, at most INT_MAX bytes together.
  [[nodiscard]] std::array<Bytes, 3> pieces() const noexcept { return {Bytes(head_), content_, Bytes(tail_)}; }
  // size: of the pieces together.
  [[nodiscard]] std::size_t size() const noexcept { return head_.size() + content_.size() + tail_.size(); }

 private:
  [[nodiscard]] int build(PKCS7* pkcs7);
  [[nodiscard]] bool fitsWith(Bytes content) const;
  [[nodiscard]] bool signContent(Bytes content);
  [[nodiscard]] bool signAttributes(Bytes digest);
  [[nodiscard]] bool signDigest(Bytes digest);
  [[nodiscard]] int encode(Bytes content);
  [[nodiscard]] bool embed(Bytes detached, Bytes content);

  Options options_{};
  Pkcs7Ptr pkcs7_;                           // without content; the attributes and the signature are replaced each time
  PKCS7_SIGNER_INFO* signerInfo_ = nullptr;  // of pkcs7_
  EvpPkeyCtxPtr keyContext_;
  std::vector<unsigned char> head_;
  std::vector<unsigned char> tail_;
  Bytes content_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CSIGNEDDATA_H_
