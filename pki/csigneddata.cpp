#include "pki/csigneddata.h"

#include <climits>

#include "base/base64.h"
#include "base/errors.h"

namespace zepasign {
namespace {

using Bytes = der::Bytes;

// textFits: whether `size` bytes have a Base64 text, its ending included, within the 32-bit length.
bool textFits(std::size_t size) { return base64::encodedLength(size) <= INT_MAX - 5; }

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

int cSignedData::prepare(const Options& options) {
  if (pkcs7_ && options == options_) return kSuccess;
  OwnErrors errors;
  pkcs7_.reset();  // and stays so until all of it is built
  options_ = options;
  int code = build();
  if (code == kSigningFailed) code = build();  // without memory the crypto library may fail without saying why
  if (code != kSuccess) errors.throwIfMemoryLacks();
  return code;
}

int cSignedData::build() {
  Pkcs7Ptr owned(PKCS7_new());
  PKCS7* const pkcs7 = owned.get();
  if (pkcs7 == nullptr) return kOutOfMemory;
  if (options_.signer == nullptr || options_.key == nullptr) return kSigningFailed;
  if (PKCS7_set_type(pkcs7, NID_pkcs7_signed) != 1) return kOutOfMemory;
  signerInfo_ = PKCS7_add_signature(pkcs7, options_.signer, options_.key, options_.digest);
  keyContext_ = newSigningContext(options_.key, options_.digest);
  if (signerInfo_ == nullptr || !keyContext_) return kSigningFailed;
  for (X509* certificate : options_.certificates) {
    if (PKCS7_add_certificate(pkcs7, certificate) != 1) return kSigningFailed;
  }
  if (!setContentType(pkcs7) || !split(pkcs7)) return kOutOfMemory;
  pkcs7_ = std::move(owned);
  return kSuccess;
}

// split: encodes the structure, zeros standing for digest and signature, and takes it apart.
//
//   SEQUENCE { OID signedData, [0] { SEQUENCE {
//     version, digestAlgorithms, contentInfo, [0] certificates,
//     SET { SEQUENCE { version, issuerAndSerial, digestAlgorithm, [0] attributes, algorithm, signature }}}}}
//
bool cSignedData::split(PKCS7* pkcs7) {
  const der::Buffer noDigest(static_cast<std::size_t>(EVP_MD_get_size(options_.digest)));
  if (options_.addAttributes && !addAttributes(noDigest)) return false;
  const der::Buffer noSignature(static_cast<std::size_t>(EVP_PKEY_get_size(options_.key)));
  if (ASN1_OCTET_STRING_set(signerInfo_->enc_digest, noSignature.data(), static_cast<int>(noSignature.size())) != 1) {
    return false;
  }
  unsigned char* encoded = nullptr;
  const int size = i2d_PKCS7(pkcs7, &encoded);
  const OpenSslBytesPtr owned(encoded);
  if (size <= 0) return false;

  const auto keep = [](der::Buffer& out, std::initializer_list<Bytes> parts) {
    out.clear();
    for (Bytes part : parts) der::append(out, part);
  };
  der::Reader reader({encoded, static_cast<std::size_t>(size)});
  reader.enter();
  keep(frame_.signedDataType, {reader.take()});
  reader.enter();
  reader.enter();
  keep(frame_.versionAndDigest, {reader.take(), reader.take()});
  reader.enter();
  keep(frame_.contentType, {reader.take()});
  keep(frame_.certificates, {reader.takeIf(0xA0)});
  reader.enter();
  reader.enter();
  keep(frame_.signerInfoStart, {reader.take(), reader.take(), reader.take()});
  static_cast<void>(reader.takeIf(0xA0));
  keep(frame_.signatureAlgorithm, {reader.take()});
  constexpr std::size_t kContentHeaders = 24;  // the most that headers grow by around content of up to INT_MAX bytes
  frame_.size = static_cast<std::size_t>(size) + (options_.embedContent ? kContentHeaders : 0);
  return !frame_.signatureAlgorithm.empty();
}

int cSignedData::sign(Bytes content) {
  OwnErrors errors;
  if (!textFits(frame_.size + (options_.embedContent ? content.size() : 0))) return kOutOfMemory;
  der::Buffer attributes;
  der::Buffer signature;
  if (!signContent(content, attributes, signature) && !signContent(content, attributes, signature)) {  // as in prepare
    errors.throwIfMemoryLacks();
    return kSigningFailed;
  }
  content_ = options_.embedContent ? content : Bytes();
  writeTail(attributes, signature);
  writeHead();
  return kSuccess;
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
  if (!context || digest.empty() ||
      EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size()) != 1) {
    return false;
  }
  signature.resize(length);
  return true;
}

// signAttributes: what is signed is the attributes as a SET; in the signature they stand under an implicit tag [0].
bool cSignedData::signAttributes(Bytes digest, der::Buffer& attributes, der::Buffer& signature) {
  if (digest.empty() || !addAttributes(digest)) return false;
  unsigned char* encoded = nullptr;
  const int size = ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE*>(signerInfo_->auth_attr), &encoded,
                                 ASN1_ITEM_rptr(PKCS7_ATTR_SIGN));
  const OpenSslBytesPtr owned(encoded);
  if (size <= 0) return false;
  attributes.assign(encoded, encoded + size);
  if (!signDigest(Digest(options_.digest, attributes).value(), signature)) return false;
  attributes.front() = 0xA0;
  return true;
}

void cSignedData::writeTail(Bytes attributes, Bytes signature) {
  const der::Buffer signatureValue = der::element(der::kOctetString, {signature});
  const der::Buffer signerInfo =
      der::element(der::kSequence, {frame_.signerInfoStart, attributes, frame_.signatureAlgorithm, signatureValue});
  tail_ = frame_.certificates;
  der::append(tail_, der::element(der::kSet, {signerInfo}));
}

// writeHead: contentInfo is SEQUENCE { OID data, [0] { OCTET STRING content } }, without the [0] when detached.
void cSignedData::writeHead() {
  const std::size_t octets = der::sizeOf(der::kOctetString, content_.size());
  const std::size_t explicitContent = options_.embedContent ? der::sizeOf(der::kContext0, octets) : 0;
  const std::size_t contentInfo = frame_.contentType.size() + explicitContent;
  const std::size_t signedData =
      frame_.versionAndDigest.size() + der::sizeOf(der::kSequence, contentInfo) + tail_.size();
  const std::size_t explicitSignedData = der::sizeOf(der::kSequence, signedData);
  head_.clear();
  der::appendHeader(head_, der::kSequence,
                    frame_.signedDataType.size() + der::sizeOf(der::kContext0, explicitSignedData));
  der::append(head_, frame_.signedDataType);
  der::appendHeader(head_, der::kContext0, explicitSignedData);
  der::appendHeader(head_, der::kSequence, signedData);
  der::append(head_, frame_.versionAndDigest);
  der::appendHeader(head_, der::kSequence, contentInfo);
  der::append(head_, frame_.contentType);
  if (!options_.embedContent) return;
  der::appendHeader(head_, der::kContext0, octets);
  der::appendHeader(head_, der::kOctetString, content_.size());
}

}  // namespace zepasign
