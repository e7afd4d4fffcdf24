// How a signature is made.
//
// prepare: the crypto library builds a PKCS#7 with signer, certificates and options, but with zeros for the digest and
// the signature and without content. Its encoding is cut into parts; the parts that are the same in every signature are
// kept.
//
// sign: the digest of the content is computed in place. Without attributes it is what the key signs. With attributes
// (content type, signing time, message digest) the key signs the digest of their encoding as a SET; in the structure
// the same bytes stand under an implicit tag [0]. Then the tail is put together, from the inside out, and last the
// head, whose headers need the sizes of content and tail.
#include "pki/csigneddata.h"

#include <climits>
#include <new>

#include "base/base64.h"
#include "base/cchars.h"

namespace zepasign {
namespace {

using Bytes = der::Bytes;

// textFits: whether the Base64 text of `size` bytes, with the zeros behind it, is within the 32-bit length.
bool textFits(std::size_t size) { return base64::encodedLength(size) + kTextSpare <= INT_MAX; }

EvpPkeyCtxPtr newSigningContext(EVP_PKEY* key, const EVP_MD* digest) {
  EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr));
  if (!context || EVP_PKEY_sign_init(context.get()) != 1 || EVP_PKEY_CTX_set_signature_md(context.get(), digest) != 1) {
    context.reset();
  }
  return context;
}

// setContentType: content of type data, which itself is left out here; the headers around it are written by writeHead.
bool setContentType(PKCS7* pkcs7) {
  return PKCS7_content_new(pkcs7, NID_pkcs7_data) == 1 &&
         PKCS7_ctrl(pkcs7, PKCS7_OP_SET_DETACHED_SIGNATURE, 1, nullptr) == 1;
}

// Digest: one pass of a digest.
class Digest final {
 public:
  Digest(const EVP_MD* digest, Bytes data) {
    if (EVP_Digest(data.data(), data.size(), value_, &length_, digest, nullptr) != 1) length_ = 0;
  }
  // value: empty when the crypto library failed.
  [[nodiscard]] Bytes value() const { return {value_, length_}; }

 private:
  unsigned char value_[EVP_MAX_MD_SIZE];
  unsigned length_ = 0;
};

}  // namespace

bool cSignedData::prepare(const Options& options) {
  if (pkcs7_ && options == options_) return true;
  pkcs7_.reset();
  options_ = options;
  return attempt([this] { return build(); });
}

bool cSignedData::build() {
  if (options_.signer == nullptr || options_.key == nullptr) return false;
  Pkcs7Ptr owned(PKCS7_new());
  PKCS7* const pkcs7 = owned.get();
  if (pkcs7 == nullptr || PKCS7_set_type(pkcs7, NID_pkcs7_signed) != 1) throw std::bad_alloc();
  signerInfo_ = PKCS7_add_signature(pkcs7, options_.signer, options_.key, options_.digest);
  keyContext_ = newSigningContext(options_.key, options_.digest);
  if (signerInfo_ == nullptr || !keyContext_) return false;
  for (X509* certificate : options_.certificates) {
    if (PKCS7_add_certificate(pkcs7, certificate) != 1) return false;
  }
  if (!setContentType(pkcs7) || !split(pkcs7)) throw std::bad_alloc();  // nothing else can fail there
  pkcs7_ = std::move(owned);
  return true;
}

bool cSignedData::setPlaceholders() {
  const der::Buffer noDigest(static_cast<std::size_t>(EVP_MD_get_size(options_.digest)));
  if (options_.addAttributes && !addAttributes(noDigest)) return false;
  const der::Buffer noSignature(static_cast<std::size_t>(EVP_PKEY_get_size(options_.key)));
  return ASN1_OCTET_STRING_set(signerInfo_->enc_digest, noSignature.data(), static_cast<int>(noSignature.size())) == 1;
}

bool cSignedData::split(PKCS7* pkcs7) {
  if (!setPlaceholders()) return false;
  unsigned char* encoded = nullptr;
  const int size = i2d_PKCS7(pkcs7, &encoded);
  const OpenSslBytesPtr owned(encoded);
  return size > 0 && cut({encoded, static_cast<std::size_t>(size)});
}

// cut: follows the structure
//
//   SEQUENCE { OID signedData, [0] { SEQUENCE {
//     version, digestAlgorithms, contentInfo, [0] certificates,
//     SET { SEQUENCE { version, issuerAndSerial, digestAlgorithm, [0] attributes, algorithm, signature }}}}}
//
bool cSignedData::cut(Bytes encoded) {
  // Embedded content adds two headers and lets four grow: contentInfo's has 2 bytes in the template, the three
  // outermost ones have 3 at least, since the template is always longer than 127 bytes.
  constexpr std::size_t kContentHeaders =
      2 * der::kMaxHeaderSize + (der::kMaxHeaderSize - 2) + 3 * (der::kMaxHeaderSize - 3);
  const auto keep = [](der::Buffer& out, std::initializer_list<Bytes> parts) {
    out.clear();
    for (Bytes part : parts) der::append(out, part);
  };
  der::Reader reader(encoded);
  reader.enter();
  keep(parts_.signedDataType, {reader.take()});
  reader.enter();
  reader.enter();
  keep(parts_.versionAndDigest, {reader.take(), reader.take()});
  reader.enter();
  keep(parts_.contentType, {reader.take()});
  keep(parts_.certificates, {reader.takeIf(der::kContext0)});
  reader.enter();
  reader.enter();
  keep(parts_.signerInfoStart, {reader.take(), reader.take(), reader.take()});
  static_cast<void>(reader.takeIf(der::kContext0));
  keep(parts_.signatureAlgorithm, {reader.take()});
  parts_.size = encoded.size() + (options_.embedContent ? kContentHeaders : 0);
  return !parts_.signatureAlgorithm.empty();
}

bool cSignedData::sign(Bytes content) {
  if (!textFits(parts_.size + (options_.embedContent ? content.size() : 0))) throw std::bad_alloc();
  der::Buffer attributes;
  der::Buffer signature;
  if (!attempt([&] { return signContent(content, attributes, signature); })) return false;
  content_ = options_.embedContent ? content : Bytes();
  writeTail(attributes, signature);
  writeHead();
  return true;
}

bool cSignedData::signContent(Bytes content, der::Buffer& attributes, der::Buffer& signature) {
  const Digest digest(options_.digest, content);
  return options_.addAttributes ? signAttributes(digest.value(), attributes, signature)
                                : signDigest(digest.value(), signature);
}

bool cSignedData::addAttributes(Bytes digest) {
  sk_X509_ATTRIBUTE_pop_free(signerInfo_->auth_attr, X509_ATTRIBUTE_free);
  signerInfo_->auth_attr = nullptr;
  return PKCS7_add0_attrib_signing_time(signerInfo_, nullptr) == 1 &&
         PKCS7_add_attrib_content_type(signerInfo_, nullptr) == 1 &&
         PKCS7_add1_attrib_digest(signerInfo_, digest.data(), static_cast<int>(digest.size())) == 1;
}

bool cSignedData::signDigest(Bytes digest, der::Buffer& signature) const {
  const EvpPkeyCtxPtr context(EVP_PKEY_CTX_dup(keyContext_.get()));
  signature.resize(static_cast<std::size_t>(EVP_PKEY_get_size(options_.key)));
  std::size_t length = signature.size();
  // Without an area EVP_PKEY_sign only tells how long the signature would be.
  if (!context || digest.empty() || signature.empty() ||
      EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size()) != 1) {
    return false;
  }
  signature.resize(length);
  return true;
}

// signAttributes: `attributes` receives them as they stand in the structure.
bool cSignedData::signAttributes(Bytes digest, der::Buffer& attributes, der::Buffer& signature) {
  if (digest.empty() || !addAttributes(digest)) return false;
  unsigned char* encoded = nullptr;
  const int size = ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE*>(signerInfo_->auth_attr), &encoded,
                                 ASN1_ITEM_rptr(PKCS7_ATTR_SIGN));
  const OpenSslBytesPtr owned(encoded);
  if (size <= 0) return false;
  attributes.assign(encoded, encoded + size);
  if (!signDigest(Digest(options_.digest, attributes).value(), signature)) return false;
  attributes.front() = der::identifierOf(der::kContext0);
  return true;
}

void cSignedData::writeTail(Bytes attributes, Bytes signature) {
  const der::Buffer signatureValue = der::element(der::kOctetString, {signature});
  const der::Buffer signerInfo =
      der::element(der::kSequence, {parts_.signerInfoStart, attributes, parts_.signatureAlgorithm, signatureValue});
  tail_ = parts_.certificates;
  der::append(tail_, der::element(der::kSet, {signerInfo}));
}

// writeHead: contentInfo is SEQUENCE { OID data, [0] { OCTET STRING content } }, without the [0] when detached.
void cSignedData::writeHead() {
  const std::size_t octets = der::sizeOf(der::kOctetString, content_.size());
  const std::size_t explicitContent = options_.embedContent ? der::sizeOf(der::kContext0, octets) : 0;
  const std::size_t contentInfo = parts_.contentType.size() + explicitContent;
  const std::size_t signedData =
      parts_.versionAndDigest.size() + der::sizeOf(der::kSequence, contentInfo) + tail_.size();
  const std::size_t explicitSignedData = der::sizeOf(der::kSequence, signedData);
  head_.clear();
  der::appendHeader(head_, der::kSequence,
                    parts_.signedDataType.size() + der::sizeOf(der::kContext0, explicitSignedData));
  der::append(head_, parts_.signedDataType);
  der::appendHeader(head_, der::kContext0, explicitSignedData);
  der::appendHeader(head_, der::kSequence, signedData);
  der::append(head_, parts_.versionAndDigest);
  der::appendHeader(head_, der::kSequence, contentInfo);
  der::append(head_, parts_.contentType);
  if (!options_.embedContent) return;
  der::appendHeader(head_, der::kContext0, octets);
  der::appendHeader(head_, der::kOctetString, content_.size());
}

}  // namespace zepasign
