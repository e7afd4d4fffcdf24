// The implementations: the baseline, this library, and libcrypto's own calls for the same work.
#include <openssl/cms.h>

#include <cstring>

#include "api/ZEPASignDLL.h"
#include "base/base64.h"
#include "bench/fixture.h"
#include "demo/handles.h"

namespace zepasign::bench {
namespace {

using demo::Certificate;
using demo::must;

// encodeText: DER, then Base64, with libcrypto's own functions.
template <class T>
void encodeText(T* structure, int (*toDer)(const T*, unsigned char**)) {
  unsigned char* der = nullptr;
  const int size = toDer(structure, &der);
  const OpenSslBytesPtr owned(der);
  require(size > 0, "DER");
  const std::unique_ptr<unsigned char[]> text(new unsigned char[static_cast<std::size_t>(size) / 3 * 4 + 5]);
  require(EVP_EncodeBlock(text.get(), der, size) > 0, "Base64");
}

X509StackPtr authoritiesOf(const std::vector<Certificate>& chain) {
  X509StackPtr authorities(must(sk_X509_new_null(), "stack"));
  for (std::size_t i = 1; i < chain.size(); ++i) must(sk_X509_push(authorities.get(), chain[i].get()), "CA");
  return authorities;
}

void writeFreshBlock(std::size_t size) {
  const std::unique_ptr<char[]> block(new char[size]);
  std::memset(block.get(), 'A', size);
  asm volatile("" : : "r"(block.get()) : "memory");  // otherwise the compiler drops a block that nobody reads
}

BioPtr streamOf(const Input& input) { return BioPtr(must(BIO_new_mem_buf(input.data(), input.size()), "stream")); }

}  // namespace

Sign baseline(const Job& job) {
  return [job, key = fixture().signer(job.key).key] {
    const Input input(job);
    const demo::Owned<EVP_MD_CTX_free, EVP_MD_CTX> context(EVP_MD_CTX_new());
    unsigned char signature[512];
    std::size_t length = sizeof signature;
    require(EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) == 1 &&
                EVP_DigestSign(context.get(), signature, &length, input.data(), job.size) == 1,
            "EVP_DigestSign");
    if (job.embed) writeFreshBlock(base64::encodedLength(job.size));
  };
}

Sign zepasignExports(const Job& job) {
  // The first time with a log file: what the library logged before goes there and not to standard output.
  static const bool loaded = ZEPASignInitial(fixture().propertyFile({.logLevel = "INFO"}).c_str(), nullptr);
  require(loaded, "ZEPASignInitial");
  require(ZEPASignInitial(fixture().propertyFile(job).c_str(), nullptr), "ZEPASignInitial");
  if (job.fromFile) {
    return [file = fixture().contentFile(job.size)] { require(SignPkcs7File(file.c_str()) == 0, "SignPkcs7File"); };
  }
  return [content = fixture().content(job.size)] {
    require(SignPkcs7Bin(content.data(), static_cast<int>(content.size())) == 0, "SignPkcs7Bin");
  };
}

Sign libcryptoPkcs7(const Job& job) {
  int flags = PKCS7_BINARY | PKCS7_NOSMIMECAP;
  if (!job.embed) flags |= PKCS7_DETACHED;
  if (!job.attributes) flags |= PKCS7_NOATTR;
  return [job, flags, chain = fixture().chain(job), key = fixture().signer(job.key).key] {
    const Input input(job);
    const Pkcs7Ptr pkcs7(must(
        PKCS7_sign(chain.front().get(), key.get(), authoritiesOf(chain).get(), streamOf(input).get(), flags), "PKCS7"));
    encodeText(pkcs7.get(), i2d_PKCS7);
  };
}

Sign libcryptoCms(const Job& job) {
  unsigned flags = CMS_BINARY | CMS_NOSMIMECAP;
  if (!job.embed) flags |= CMS_DETACHED;
  if (!job.attributes) flags |= CMS_NOATTR;
  return [job, flags, chain = fixture().chain(job), key = fixture().signer(job.key).key] {
    const Input input(job);
    const demo::Owned<CMS_ContentInfo_free, CMS_ContentInfo> cms(must(
        CMS_sign(chain.front().get(), key.get(), authoritiesOf(chain).get(), streamOf(input).get(), flags), "CMS"));
    encodeText(cms.get(), i2d_CMS_ContentInfo);
  };
}

}  // namespace zepasign::bench
