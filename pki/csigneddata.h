// cSignedData: PKCS#7 signed-data (RFC 2315, section 9) around content that stays where it is.
//
//   head_ | content (when embedded) | tail_        the DER, in three pieces
//
// Everything that depends on the credential and the options alone is built and encoded once, by the crypto library, and
// kept as template parts. Each signature then costs one digest pass over the content in place, the key operation, and
// writing the headers that enclose both. The result is byte for byte what the crypto library writes for the whole.
//
// Thread rule: one thread at a time, inside a CryptoScope.
#ifndef ZEPASIGN_PKI_CSIGNEDDATA_H_
#define ZEPASIGN_PKI_CSIGNEDDATA_H_

#include <array>
#include <vector>

#include "pki/der.h"
#include "pki/openssl.h"

namespace zepasign {

class cSignedData final {
 public:
  using Bytes = der::Bytes;

  // Options: what goes into the signatures. All pointers are borrowed and must stay valid as long as this object;
  // options with the same pointers count as the same.
  struct Options {
    const EVP_MD* digest;
    X509* signer;                     // named in the signature by issuer and serial number
    EVP_PKEY* key;                    // the signer's private key
    std::vector<X509*> certificates;  // in the order in which they are added
    bool addAttributes;               // content type, signing time (now) and, as they are there, the message digest
    bool embedContent;

    bool operator==(const Options&) const = default;
  };

  // prepare: builds what all signatures with these options share, unless that is what it built last. False when the
  // crypto library cannot sign with them. Throws std::bad_alloc.
  [[nodiscard]] bool prepare(const Options& options);

  // sign: makes the signature over `content`, which must outlive the use of the pieces. False when the crypto library
  // fails. Throws std::bad_alloc, also when the Base64 text of the result would pass the 32-bit length; such content is
  // refused before it is hashed. REQUIRES: the last `prepare` returned true.
  [[nodiscard]] bool sign(Bytes content);

  // pieces: borrowed, valid until the next call; the DER of the last successful `sign`, at most INT_MAX bytes together.
  [[nodiscard]] std::array<Bytes, 3> pieces() const noexcept { return {Bytes(head_), content_, Bytes(tail_)}; }
  // size: of the pieces together.
  [[nodiscard]] std::size_t size() const noexcept { return head_.size() + content_.size() + tail_.size(); }

 private:
  // Parts: the encoded elements that all signatures share, in the order of the structure (see cut).
  struct Parts {
    der::Buffer signedDataType;
    der::Buffer versionAndDigest;
    der::Buffer contentType;
    der::Buffer certificates;
    der::Buffer signerInfoStart;  // version, issuer and serial number, digest algorithm
    der::Buffer signatureAlgorithm;
    std::size_t size = 0;  // the most bytes that a signature has without its content
  };

  // build: makes pkcs7_, keyContext_ and parts_ from options_. False when the crypto library cannot sign with them.
  // Throws std::bad_alloc.
  [[nodiscard]] bool build();
  // setPlaceholders: gives signerInfo_ zeros for the digest and the signature. False when the crypto library fails.
  [[nodiscard]] bool setPlaceholders();
  // split: fills parts_ from the encoding of `pkcs7` with placeholders. False when the crypto library fails.
  [[nodiscard]] bool split(PKCS7* pkcs7);
  [[nodiscard]] bool cut(Bytes encoded);
  // addAttributes: replaces the attributes in signerInfo_; the signing time is now. False when the crypto library
  // fails.
  [[nodiscard]] bool addAttributes(Bytes digest);
  // signContent: computes the digest and signs it, or the attributes that hold it. `attributes` remains empty when the
  // options ask for none.
  [[nodiscard]] bool signContent(Bytes content, der::Buffer& attributes, der::Buffer& signature);
  // signDigest: the key operation. `signature` receives at most EVP_PKEY_get_size bytes.
  [[nodiscard]] bool signDigest(Bytes digest, der::Buffer& signature) const;
  // signAttributes: `attributes` receives their encoding under the implicit tag [0] (RFC 2315, section 9.2).
  [[nodiscard]] bool signAttributes(Bytes digest, der::Buffer& attributes, der::Buffer& signature);
  // writeTail: the certificates and the set of the one SignerInfo, which follow the content.
  void writeTail(Bytes attributes, Bytes signature);
  // writeHead: all that precedes the content. REQUIRES: content_ and tail_ are set, since their sizes are in the
  // headers.
  void writeHead();

  Options options_{};
  Pkcs7Ptr pkcs7_;                           // null until all of it is built; the attributes are made in it
  PKCS7_SIGNER_INFO* signerInfo_ = nullptr;  // of pkcs7_
  EvpPkeyCtxPtr keyContext_;                 // ready to sign; each signature uses a copy
  Parts parts_;
  der::Buffer head_;
  der::Buffer tail_;
  Bytes content_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CSIGNEDDATA_H_
