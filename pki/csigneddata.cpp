#include "pki/csigneddata.h"

#include <climits>

#include "base/base64.h"
#include "base/errors.h"

namespace zepasign {
namespace {

using Bytes = cSignedData::Bytes;

// DerReader: walks over the elements of one DER text; every step throws away what it passed.
class DerReader final {
 public:
  explicit DerReader(Bytes der) : rest_(der) {}

  // enter: passes the header of the next element and stands at its content; false when there is no sound element.
  bool enter() {
    const unsigned char* at = rest_.data();
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    if ((ASN1_get_object(&at, &length, &tag, &tagClass, static_cast<long>(rest_.size())) & 0x80) != 0) return false;
    rest_ = rest_.subspan(static_cast<std::size_t>(at - rest_.data()));
    contentLength_ = static_cast<std::size_t>(length);
    return true;
  }
  // take: passes the next element and gives it whole; empty when there is none.
  Bytes take() {
    const Bytes start = rest_;
    if (!enter()) return {};
    rest_ = rest_.subspan(contentLength_);
    return start.first(start.size() - rest_.size());
  }
  [[nodiscard]] Bytes rest() const { return rest_; }

 private:
  Bytes rest_;
  std::size_t contentLength_ = 0;
};

// Header: one enclosing element that is written anew because the content lies inside it.
struct Header {
  int constructed;
  int tag;
  int tagClass;

  // wrap: the size of an element with this header around `size` bytes, -1 when it passes the 32-bit length.
  [[nodiscard]] int wrap(long long size) const {
    return size < 0 || size > INT_MAX ? -1 : ASN1_object_size(constructed, static_cast<int>(size), tag);
  }
  void write(std::vector<unsigned char>& out, int contentSize) const {
    unsigned char header[16];
    unsigned char* end = header;
    ASN1_put_object(&end, constructed, contentSize, tag, tagClass);
    out.insert(out.end(), header, end);
  }
};
constexpr Header kSequence{1, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL};
constexpr Header kExplicit0{1, 0, V_ASN1_CONTEXT_SPECIFIC};
constexpr Header kOctetString{0, V_ASN1_OCTET_STRING, V_ASN1_UNIVERSAL};

void append(std::vector<unsigned char>& out, Bytes bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); }

// textFits: whether `size` bytes have a Base64 text, its ending included, within the 32-bit length.
bool textFits(std::size_t size) { return base64::encodedLength(size) <= INT_MAX - 5; }

// setContentType: content of type data, which is left out here in every case; see cSignedData::embed.
bool setContentType(PKCS7* pkcs7) {
  return PKCS7_content_new(pkcs7, NID_pkcs7_data) == 1 &&
         PKCS7_ctrl(pkcs7, PKCS7_OP_SET_DETACHED_SIGNATURE, 1, nullptr) == 1;
}

bool setSignature(PKCS7_SIGNER_INFO* signerInfo, Bytes signature) {
  return ASN1_OCTET_STRING_set(signerInfo->enc_digest, signature.data(), static_cast<int>(signature.size())) == 1;
}

EvpPkeyCtxPtr newSigningContext(EVP_PKEY* key, const EVP_MD* digest) {
  EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr));
  if (!context || EVP_PKEY_sign_init(context.get()) != 1 || EVP_PKEY_CTX_set_signature_md(context.get(), digest) != 1) {
    context.reset();
  }
  return context;
}

}  // namespace

int cSignedData::prepare(const Options& options) {
  if (pkcs7_ && options == options_) return kSuccess;
  const ErrorQueueMark mark;
  pkcs7_.reset();  // and stays so until all of it is built
  options_ = options;
  Pkcs7Ptr pkcs7(PKCS7_new());
  const int code = pkcs7 ? build(pkcs7.get()) : kOutOfMemory;
  if (code == kSuccess) pkcs7_ = std::move(pkcs7);
  return code;
}

int cSignedData::build(PKCS7* pkcs7) {
  if (options_.signer == nullptr || options_.key == nullptr) return kSigningFailed;
  if (PKCS7_set_type(pkcs7, NID_pkcs7_signed) != 1) return kOutOfMemory;
  signerInfo_ = PKCS7_add_signature(pkcs7, options_.signer, options_.key, options_.digest);
  keyContext_ = newSigningContext(options_.key, options_.digest);
  if (signerInfo_ == nullptr || !keyContext_) return kSigningFailed;
  for (X509* certificate : options_.certificates) {
    if (PKCS7_add_certificate(pkcs7, certificate) != 1) return kSigningFailed;
  }
  const std::vector<unsigned char> noSignature(static_cast<std::size_t>(EVP_PKEY_get_size(options_.key)));
  return setContentType(pkcs7) && setSignature(signerInfo_, noSignature) ? kSuccess : kOutOfMemory;
}

int cSignedData::sign(Bytes content) {
  const ErrorQueueMark mark;
  if (!fitsWith(content)) return kOutOfMemory;
  if (!signContent(content)) return kSigningFailed;
  return encode(content);
}

// fitsWith: the last signature, or zeros before the first, stand for the next one, which is as long or, for some kinds
// of key, a few bytes off.
bool cSignedData::fitsWith(Bytes content) const {
  if (!options_.embedContent || content.size() < INT_MAX / 2) return true;
  const int frame = i2d_PKCS7(pkcs7_.get(), nullptr);
  return frame > 0 && textFits(static_cast<std::size_t>(frame) + content.size());
}

bool cSignedData::signContent(Bytes content) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  if (EVP_Digest(content.data(), content.size(), digest, &length, options_.digest, nullptr) != 1) return false;
  const Bytes value(digest, length);
  return options_.addAttributes ? signAttributes(value) : signDigest(value);
}

bool cSignedData::signAttributes(Bytes digest) {
  sk_X509_ATTRIBUTE_pop_free(signerInfo_->auth_attr, X509_ATTRIBUTE_free);
  signerInfo_->auth_attr = nullptr;
  return PKCS7_add0_attrib_signing_time(signerInfo_, nullptr) == 1 &&
         PKCS7_add_attrib_content_type(signerInfo_, nullptr) == 1 &&
         PKCS7_add1_attrib_digest(signerInfo_, digest.data(), static_cast<int>(digest.size())) == 1 &&
         PKCS7_SIGNER_INFO_sign(signerInfo_) == 1;
}

// signDigest: the signature over the digest itself, as it is when there are no signed attributes.
bool cSignedData::signDigest(Bytes digest) {
  const EvpPkeyCtxPtr context(EVP_PKEY_CTX_dup(keyContext_.get()));
  std::vector<unsigned char> signature(static_cast<std::size_t>(EVP_PKEY_get_size(options_.key)));
  std::size_t length = signature.size();
  return context && EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size()) == 1 &&
         setSignature(signerInfo_, Bytes(signature).first(length));
}

int cSignedData::encode(Bytes content) {
  unsigned char* der = nullptr;
  const int size = i2d_PKCS7(pkcs7_.get(), &der);
  if (size <= 0) return kOutOfMemory;
  const OpenSslBytesPtr owned(der);
  const Bytes detached(der, static_cast<std::size_t>(size));
  if (options_.embedContent) return embed(detached, content) && textFits(this->size()) ? kSuccess : kOutOfMemory;
  head_.assign(detached.begin(), detached.end());
  tail_.clear();
  content_ = {};
  return kSuccess;
}

// embed: splits the detached DER and writes the headers around the content anew.
//   SEQUENCE { OID signedData, [0] { SEQUENCE { version, digestAlgorithms, contentInfo, ...rest... } } }
//   contentInfo: SEQUENCE { OID data, [0] { OCTET STRING content } }, without the [0] in a detached signature
bool cSignedData::embed(Bytes detached, Bytes content) {
  DerReader reader(detached);
  if (!reader.enter()) return false;
  const Bytes signedDataType = reader.take();
  if (!reader.enter() || !reader.enter()) return false;
  const Bytes version = reader.take();
  const Bytes digestAlgorithms = reader.take();
  if (!reader.enter()) return false;
  const Bytes dataType = reader.take();
  const Bytes rest = reader.rest();

  const auto size = [](std::size_t bytes) { return static_cast<long long>(bytes); };
  const int octets = kOctetString.wrap(size(content.size()));
  const int explicitContent = kExplicit0.wrap(octets);
  const int contentInfo = explicitContent < 0 ? -1 : kSequence.wrap(size(dataType.size()) + explicitContent);
  const long long inside = size(version.size() + digestAlgorithms.size() + rest.size()) + contentInfo;
  const int signedData = contentInfo < 0 ? -1 : kSequence.wrap(inside);
  const int explicitSignedData = kExplicit0.wrap(signedData);
  const long long whole = size(signedDataType.size()) + explicitSignedData;
  if (explicitSignedData < 0 || kSequence.wrap(whole) < 0) return false;

  head_.clear();
  kSequence.write(head_, static_cast<int>(whole));
  append(head_, signedDataType);
  kExplicit0.write(head_, signedData);
  kSequence.write(head_, static_cast<int>(inside));
  append(head_, version);
  append(head_, digestAlgorithms);
  kSequence.write(head_, static_cast<int>(size(dataType.size()) + explicitContent));
  append(head_, dataType);
  kExplicit0.write(head_, octets);
  kOctetString.write(head_, static_cast<int>(content.size()));
  content_ = content;
  tail_.assign(rest.begin(), rest.end());
  return true;
}

}  // namespace zepasign
