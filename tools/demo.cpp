#include "tools/demo.h"

#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <stdexcept>

#include "base/cchars.h"
#include "pki/cx509.h"

namespace zepasign::tools {
namespace {

constexpr long kYear = 365L * 24 * 60 * 60;
constexpr int kKeyBits = 2048;

// must: the pointer or flag itself; throws when it says failure.
template <class T>
T must(T result, const char* what) {
  if (!result) throw std::runtime_error(what);
  return result;
}

struct Identity {
  EvpPkeyPtr key;
  X509Ptr certificate;
};

void addExtension(X509* certificate, X509* issuer, int nid, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = must(X509V3_EXT_conf_nid(nullptr, &context, nid, value), value);
  must(X509_add_ext(certificate, extension, -1), value);
  X509_EXTENSION_free(extension);
}

void setName(X509_NAME* name, const char* commonName) {
  const auto add = [name](const char* field, const char* value) {
    must(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(value), -1, -1,
                                    0),
         field);
  };
  add("C", "TW");
  add("O", "zepasign demo");
  add("CN", commonName);
}

// issue: a certificate for a new key, by `issuer` or, for a CA, by itself.
Identity issue(const char* commonName, const Identity* issuer) {
  Identity made{EvpPkeyPtr(must(EVP_RSA_gen(kKeyBits), "key")), X509Ptr(must(X509_new(), "certificate"))};
  X509* certificate = made.certificate.get();
  const Identity& authority = issuer == nullptr ? made : *issuer;
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), std::stoull(randomHex(7), nullptr, 16));
  X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate), issuer == nullptr ? 10 * kYear : kYear);
  setName(X509_get_subject_name(certificate), commonName);
  must(X509_set_issuer_name(certificate, X509_get_subject_name(authority.certificate.get())), "issuer");
  must(X509_set_pubkey(certificate, made.key.get()), "public key");
  X509* above = authority.certificate.get();
  if (issuer == nullptr) addExtension(certificate, above, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate, above, NID_key_usage,
               issuer == nullptr ? "critical,keyCertSign,cRLSign" : "critical,digitalSignature,nonRepudiation");
  addExtension(certificate, above, NID_subject_key_identifier, "hash");
  addExtension(certificate, above, NID_authority_key_identifier, "keyid:always");
  must(X509_sign(certificate, authority.key.get(), EVP_sha256()), "certificate signature");
  return made;
}

template <auto ToDer, class T>
std::string encode(const T* object) {
  unsigned char* bytes = nullptr;
  const int length = ToDer(object, &bytes);
  const std::unique_ptr<unsigned char, FreeWith<freeOpenSslBytes>> owned(bytes);
  if (length <= 0) throw std::runtime_error("DER");
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)};
}

std::string makeChain(const Identity& ca) {
  const Pkcs7Ptr chain(must(PKCS7_new(), "chain"));
  must(PKCS7_set_type(chain.get(), NID_pkcs7_signed), "chain");
  must(PKCS7_content_new(chain.get(), NID_pkcs7_data), "chain");
  must(PKCS7_set_detached(chain.get(), 1) == 1, "chain");
  must(PKCS7_add_certificate(chain.get(), ca.certificate.get()), "chain");
  return encode<i2d_PKCS7>(chain.get());
}

std::string makeCrl(const Identity& ca) {
  const X509CrlPtr crl(must(X509_CRL_new(), "CRL"));
  const std::unique_ptr<ASN1_TIME, FreeWith<ASN1_TIME_free>> now(X509_gmtime_adj(nullptr, 0));
  const std::unique_ptr<ASN1_TIME, FreeWith<ASN1_TIME_free>> next(X509_gmtime_adj(nullptr, kYear));
  X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2);
  must(X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(ca.certificate.get())), "CRL");
  must(X509_CRL_set1_lastUpdate(crl.get(), now.get()), "CRL");
  must(X509_CRL_set1_nextUpdate(crl.get(), next.get()), "CRL");
  must(X509_CRL_sign(crl.get(), ca.key.get(), EVP_sha256()), "CRL");
  return encode<i2d_X509_CRL>(crl.get());
}

std::string makePem(X509* certificate) {
  const BioPtr stream(must(BIO_new(BIO_s_mem()), "PEM"));
  must(PEM_write_bio_X509(stream.get(), certificate), "PEM");
  char* text = nullptr;
  const long length = BIO_get_mem_data(stream.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

}  // namespace

DemoFiles makeDemo() {
  const Identity ca = issue("zepasign demo CA", nullptr);
  const Identity signer = issue("zepasign demo signer", &ca);
  const Pkcs12Ptr pfx(
      must(PKCS12_create(kDemoPassword, "signer", signer.key.get(), signer.certificate.get(), nullptr, 0, 0, 0, 0, 0),
           "PFX"));
  return {encode<i2d_PKCS12>(pfx.get()), makeChain(ca), makeCrl(ca), makePem(ca.certificate.get()),
          cX509(ca.certificate.get()).getSubjectKeyId()};
}

std::string randomHex(std::size_t bytes) {
  std::string random(bytes, '\0');
  auto* data = reinterpret_cast<unsigned char*>(random.data());
  must(RAND_bytes(data, static_cast<int>(bytes)) == 1, "random bytes");
  cChars text;
  must(text.setHex(data, static_cast<int>(bytes)), "random bytes");
  return text.data();
}

}  // namespace zepasign::tools
