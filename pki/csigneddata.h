// cSignedData: PKCS#7 signed-data (RFC 2315, section 9) around content that stays where it is.
//
//   head_ | content (when embedded) | tail_        the DER, in three pieces
//
// What depends on the credential and the options alone is built and encoded once by the crypto library. A signature
// then costs one pass of the digest over the content where it lies, the key operation, and the writing of the few
// headers that enclose both. The result is byte for byte what the crypto library writes for the whole.
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
  // (no memory) or 5061. Throws std::bad_alloc, as `sign` does.
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
  // Frame: the encoded elements that all signatures share.
  struct Frame {
    der::Buffer signedDataType;
    der::Buffer versionAndDigest;
    der::Buffer contentType;
    der::Buffer certificates;
    der::Buffer signerInfoStart;  // version, issuer and serial number, digest algorithm
    der::Buffer signatureAlgorithm;
    std::size_t size = 0;  // of a whole signature without its content
  };

  [[nodiscard]] int build();
  [[nodiscard]] bool split(PKCS7* pkcs7);
  [[nodiscard]] bool addAttributes(Bytes digest);
  [[nodiscard]] bool signContent(Bytes content, der::Buffer& attributes, der::Buffer& signature);
  [[nodiscard]] bool signDigest(Bytes digest, der::Buffer& signature) const;
  [[nodiscard]] bool signAttributes(Bytes digest, der::Buffer& attributes, der::Buffer& signature);
  void writeHead();
  void writeTail(Bytes attributes, Bytes signature);

  Options options_{};
  Pkcs7Ptr pkcs7_;                           // the attributes are made in it
  PKCS7_SIGNER_INFO* signerInfo_ = nullptr;  // of pkcs7_
  EvpPkeyCtxPtr keyContext_;
  Frame frame_;
  der::Buffer head_;
  der::Buffer tail_;
  Bytes content_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CSIGNEDDATA_H_
