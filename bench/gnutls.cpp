#include <gnutls/abstract.h>
#include <gnutls/pkcs7.h>

#include "bench/job.h"

namespace zepasign::bench {
namespace {

void check(int code) { require(code >= 0, gnutls_strerror(code)); }

// newHandle: an object of GnuTLS's with its own free function.
template <class T>
std::shared_ptr<T> newHandle(int (*make)(T**), void (*destroy)(T*)) {
  T* handle = nullptr;
  check(make(&handle));
  return {handle, destroy};
}

gnutls_datum_t datumOf(std::string& bytes) {
  return {reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

// Datum: bytes that GnuTLS allocated.
struct Datum : gnutls_datum_t {
  Datum() : gnutls_datum_t{nullptr, 0} {}
  ~Datum() { gnutls_free(data); }
  Datum(const Datum&) = delete;
  Datum& operator=(const Datum&) = delete;
};

auto certificateOf(std::string& der) {
  auto certificate = newHandle(gnutls_x509_crt_init, gnutls_x509_crt_deinit);
  const gnutls_datum_t bytes = datumOf(der);
  check(gnutls_x509_crt_import(certificate.get(), &bytes, GNUTLS_X509_FMT_DER));
  return certificate;
}

auto keyOf(std::string& der) {
  auto key = newHandle(gnutls_privkey_init, gnutls_privkey_deinit);
  const gnutls_datum_t bytes = datumOf(der);
  check(gnutls_privkey_import_x509_raw(key.get(), &bytes, GNUTLS_X509_FMT_DER, nullptr, 0));
  return key;
}

}  // namespace

Sign gnutls(const Job& job) {
  unsigned flags = GNUTLS_PKCS7_INCLUDE_CERT;
  if (job.embed) flags |= GNUTLS_PKCS7_EMBED_DATA;
  if (job.attributes) flags |= GNUTLS_PKCS7_INCLUDE_TIME;
  Credential credential(job);
  std::vector<std::shared_ptr<gnutls_x509_crt_int>> chain;
  for (std::string& each : credential.chain) chain.push_back(certificateOf(each));
  return [job, flags, chain, key = keyOf(credential.key)] {
    const Input input(job);
    const gnutls_datum_t content{input.data(), static_cast<unsigned>(input.size())};
    const auto pkcs7 = newHandle(gnutls_pkcs7_init, gnutls_pkcs7_deinit);
    check(gnutls_pkcs7_sign(pkcs7.get(), chain.front().get(), key.get(), &content, nullptr, nullptr, GNUTLS_DIG_SHA256,
                            flags));
    for (std::size_t i = 1; i < chain.size(); ++i) check(gnutls_pkcs7_set_crt(pkcs7.get(), chain[i].get()));
    Datum der;
    Datum text;
    check(gnutls_pkcs7_export2(pkcs7.get(), GNUTLS_X509_FMT_DER, &der));
    check(gnutls_base64_encode2(&der, &text));
  };
}

}  // namespace zepasign::bench
