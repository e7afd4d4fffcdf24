#include <wolfssl/options.h>

#include <wolfssl/wolfcrypt/coding.h>
#include <wolfssl/wolfcrypt/pkcs7.h>

#include "bench/job.h"

namespace zepasign::bench {
namespace {

void check(int code, const char* what) { require(code == 0, what); }
byte* bytesOf(std::string& text) { return reinterpret_cast<byte*>(text.data()); }
word32 sizeOf(const std::string& text) { return static_cast<word32>(text.size()); }

// lend: key and certificates, which wolfSSL borrows while it signs.
void lend(Credential& credential, PKCS7* pkcs7) {
  std::vector<std::string>& chain = credential.chain;
  check(wc_PKCS7_InitWithCert(pkcs7, bytesOf(chain.front()), sizeOf(chain.front())), "wc_PKCS7_InitWithCert");
  for (std::size_t i = 1; i < chain.size(); ++i) {
    check(wc_PKCS7_AddCertificate(pkcs7, bytesOf(chain[i]), sizeOf(chain[i])), "wc_PKCS7_AddCertificate");
  }
  pkcs7->privateKey = bytesOf(credential.key);
  pkcs7->privateKeySz = sizeOf(credential.key);
}

void encodeText(const byte* der, int size) {
  require(size > 0, "wc_PKCS7_EncodeSignedData");
  word32 length = static_cast<word32>(size) / 3 * 4 + 5;
  const std::unique_ptr<byte[]> text(new byte[length]);
  check(Base64_Encode_NoNl(der, static_cast<word32>(size), text.get(), &length), "Base64_Encode_NoNl");
}

}  // namespace

Sign wolfssl(const Job& job) {
  const std::shared_ptr<WC_RNG> random(wc_rng_new(nullptr, 0, nullptr), wc_rng_free);
  return [job, random, credential = Credential(job)]() mutable {
    constexpr word32 kFrame = 8192;  // more than everything around the content
    const Input input(job);
    const std::shared_ptr<PKCS7> pkcs7(wc_PKCS7_New(nullptr, INVALID_DEVID), wc_PKCS7_Free);
    lend(credential, pkcs7.get());
    pkcs7->rng = random.get();
    pkcs7->encryptOID = job.key == KeyKind::kP256 ? ECDSAk : RSAk;
    pkcs7->hashOID = SHA256h;
    pkcs7->content = input.data();
    pkcs7->contentSz = static_cast<word32>(input.size());
    pkcs7->contentOID = DATA;
    if (!job.embed) check(wc_PKCS7_SetDetached(pkcs7.get(), 1), "wc_PKCS7_SetDetached");
    if (!job.attributes) check(wc_PKCS7_NoDefaultSignedAttribs(pkcs7.get()), "wc_PKCS7_NoDefaultSignedAttribs");
    const word32 room = kFrame + (job.embed ? pkcs7->contentSz : 0);
    const std::unique_ptr<byte[]> der(new byte[room]);
    encodeText(der.get(), wc_PKCS7_EncodeSignedData(pkcs7.get(), der.get(), room));
  };
}

}  // namespace zepasign::bench
