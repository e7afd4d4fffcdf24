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

bool addCertificates(PKCS7* pkcs7, const cSignedData::Options& options) {
  if (options.addSigner && PKCS7_add_certificate(pkcs7, options.signer) != 1) return false;
  for (int i = sk_X509_num(options.chain) - 1; i >= 0; --i) {
    if (PKCS7_add_certificate(pkcs7, sk_X509_value(options.chain, i)) != 1) return false;
  }
  return true;
}

// signDigest: the signature over the digest itself, as it is when there are no signed attributes.
bool signDigest(PKCS7_SIGNER_INFO* signer, EVP_PKEY* key, const EVP_MD* md, Bytes digest) {
  const EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr));
  std::vector<unsigned char> signature(static_cast<std::size_t>(EVP_PKEY_get_size(key)));
  std::size_t length = signature.size();
  return context && EVP_PKEY_sign_init(context.get()) == 1 &&
         EVP_PKEY_CTX_set_signature_md(context.get(), md) == 1 &&
         EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size()) == 1 &&
         ASN1_OCTET_STRING_set(signer->enc_digest, signature.data(), static_cast<int>(length)) == 1;
}

bool signContent(PKCS7_SIGNER_INFO* signer, const cSignedData::Options& options, Bytes content) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned length = 0;
  if (EVP_Digest(content.data(), content.size(), digest, &length, options.digest, nullptr) != 1) return false;
  if (!options.addAttributes) return signDigest(signer, options.key, options.digest, {digest, length});
  return PKCS7_add1_attrib_digest(signer, digest, static_cast<int>(length)) == 1 &&
         PKCS7_SIGNER_INFO_sign(signer) == 1;
}

bool addAttributes(PKCS7_SIGNER_INFO* signer) {
  return PKCS7_add0_attrib_signing_time(signer, nullptr) == 1 && PKCS7_add_attrib_content_type(signer, nullptr) == 1;
}

// setContentType: content of type data, which is left out here in every case; see cSignedData::embed.
bool setContentType(PKCS7* pkcs7) {
  return PKCS7_content_new(pkcs7, NID_pkcs7_data) == 1 &&
         PKCS7_ctrl(pkcs7, PKCS7_OP_SET_DETACHED_SIGNATURE, 1, nullptr) == 1;
}

}  // namespace

int cSignedData::sign(const Options& options, Bytes content) {
  const ErrorQueueMark mark;
  const Pkcs7Ptr pkcs7(PKCS7_new());
  if (!pkcs7) return kOutOfMemory;
  PKCS7_SIGNER_INFO* signer = nullptr;
  if (PKCS7_set_type(pkcs7.get(), NID_pkcs7_signed) != 1 || options.signer == nullptr || options.key == nullptr ||
      (signer = PKCS7_add_signature(pkcs7.get(), options.signer, options.key, options.digest)) == nullptr ||
      !addCertificates(pkcs7.get(), options) || (options.addAttributes && !addAttributes(signer)) ||
      !setContentType(pkcs7.get())) {
    return kSigningFailed;
  }
  const int unsignedSize = i2d_PKCS7(pkcs7.get(), nullptr);
  const auto frameSize = static_cast<std::size_t>(unsignedSize) + static_cast<std::size_t>(EVP_PKEY_get_size(options.key));
  if (unsignedSize <= 0 || !textFits(frameSize + (options.embedContent ? content.size() : 0))) return kOutOfMemory;
  if (!signContent(signer, options, content)) return kSigningFailed;
  return encode(pkcs7.get(), options.embedContent, content);
}

int cSignedData::encode(PKCS7* pkcs7, bool embedContent, Bytes content) {
  unsigned char* der = nullptr;
  const int size = i2d_PKCS7(pkcs7, &der);
  if (size <= 0) return kOutOfMemory;
  const std::unique_ptr<unsigned char, FreeWith<freeOpenSslBytes>> owned(der);
  const Bytes detached(der, static_cast<std::size_t>(size));
  if (!embedContent) {
    head_.assign(detached.begin(), detached.end());
    tail_.clear();
    content_ = {};
    return kSuccess;
  }
  return embed(detached, content) && textFits(this->size()) ? kSuccess : kOutOfMemory;
}

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
