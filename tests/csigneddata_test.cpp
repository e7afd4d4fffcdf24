#include "pki/csigneddata.h"

#include "tests/support/signer_test.h"

namespace zepasign::testing {

// reference: the signature as libcrypto makes it through its own data stream, at the signing time of `der`.
static std::string reference(const cSignedData::Options& options, const std::string& content, const std::string& der) {
  const Pkcs7Ptr pkcs7(PKCS7_new()), given(decode<d2i_PKCS7>(der));
  must(PKCS7_set_type(pkcs7.get(), NID_pkcs7_signed), "type");
  PKCS7_SIGNER_INFO* signer = PKCS7_add_signature(pkcs7.get(), options.signer, options.key, options.digest);
  for (X509* each : options.certificates) must(PKCS7_add_certificate(pkcs7.get(), each), "certificate");
  if (options.addAttributes) {
    PKCS7_SIGNER_INFO* timed = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(given.get()), 0);
    const ASN1_TYPE* time = must(PKCS7_get_signed_attribute(timed, NID_pkcs9_signingTime), "signing time");
    PKCS7_add0_attrib_signing_time(signer, ASN1_STRING_dup(time->value.utctime));
    PKCS7_add_attrib_content_type(signer, nullptr);
  }
  PKCS7_content_new(pkcs7.get(), NID_pkcs7_data);
  PKCS7_set_detached(pkcs7.get(), options.embedContent ? 0 : 1);
  const BioPtr stream(PKCS7_dataInit(pkcs7.get(), nullptr));
  BIO_write(stream.get(), content.data(), static_cast<int>(content.size()));
  must(PKCS7_dataFinal(pkcs7.get(), stream.get()), "signature");
  return encode<i2d_PKCS7>(pkcs7.get());
}

using SignedData = SignerTest;

TEST_F(SignedData, EqualsByteForByteWhatLibcryptoStreams) {
  X509* const own = fixture.signer.certificate.get();
  cSignedData signedData;  // one for all: what it keeps from one signature must not enter the next
  for (unsigned choice = 0; choice < 16; ++choice) {
    const auto chain = (choice & 2U) != 0 ? std::vector{own, fixture.ca.certificate.get()} : std::vector<X509*>();
    const EVP_MD* digest = (choice & 1U) != 0 ? EVP_sha256() : EVP_sha1();
    const bool attributes = (choice & 4U) != 0, embedded = (choice & 8U) != 0;
    const cSignedData::Options options{digest, own, fixture.signer.key.get(), chain, attributes, embedded};
    ASSERT_TRUE(signedData.prepare(options));
    for (const std::size_t size : {1U, 127U, 128U, 255U, 256U, 65535U, 65536U, 1U}) {
      const std::string content(size, '\n');
      ASSERT_TRUE(signedData.sign({reinterpret_cast<const unsigned char*>(content.data()), size}));
      std::string der;
      for (const cSignedData::Bytes piece : signedData.pieces()) der.append(piece.begin(), piece.end());
      EXPECT_TRUE(der == reference(options, content, der)) << choice << " with " << size;
    }
  }
}

TEST_F(SignedData, WhatCannotBeSignedIsRefused) {
  X509* const own = fixture.signer.certificate.get();
  cSignedData signedData;
  EXPECT_FALSE(signedData.prepare({EVP_sha256(), own, nullptr, {}, false, true}));
  EXPECT_FALSE(signedData.prepare({EVP_sha256(), nullptr, fixture.signer.key.get(), {}, false, true}));
  ASSERT_TRUE(signedData.prepare({EVP_sha256(), own, fixture.signer.key.get(), {}, false, true}));
  const unsigned char first = 0;  // nothing behind it may be touched
  EXPECT_THROW(static_cast<void>(signedData.sign({&first, 1610612700})), std::bad_alloc)
      << "with the rest its text passes 32 bits";
  EXPECT_TRUE(signedData.sign({&first, 1}));
}

TEST_F(SignedData, AKeyTooSmallForTheDigestIsRefused) {
  const EvpPkeyPtr key(decode<d2i_AutoPrivateKey>(base64Decode(  // RSA with 128 bits
      "MGICAQACEQD/////////cgAAAAAAABMhAgMBAAECEBPJbDaTyWwrcnyNg3J8jwkCCQD/////////xQIJAP////////+tAggVsepO"
      "FbHqSQIJAPCUD2vwlA8dAgg1VVVVVVVVSQ==")));
  cSignedData signedData;
  for (const bool attributes : {false, true}) {
    ASSERT_TRUE(signedData.prepare({EVP_sha256(), fixture.signer.certificate.get(), key.get(), {}, attributes, true}));
    const unsigned char content = 0;
    EXPECT_FALSE(signedData.sign({&content, 1}));
  }
}

}  // namespace zepasign::testing
