#include "tests/support/containers.h"

#include "tests/support/openssl_handles.h"

namespace zepasign::testing {
namespace {

constexpr int kIterations = 8;  // few, since nobody attacks a test's PFX

// legacyContext: RC2-40 comes from the legacy provider; in a context of its own, the default one stays as it is.
OSSL_LIB_CTX* legacyContext() {
  static const LibCtxPtr context(made(OSSL_LIB_CTX_new(), "context"));
  static const ProviderPtr legacy(made(OSSL_PROVIDER_load(context.get(), "legacy"), "legacy provider"));
  static const ProviderPtr standard(made(OSSL_PROVIDER_load(context.get(), "default"), "default provider"));
  return context.get();
}

void addRevoked(X509_CRL* crl, const std::string& serial, ASN1_TIME* when) {
  X509_REVOKED* entry = made(X509_REVOKED_new(), "revoked entry");
  made(X509_CRL_add0_revoked(crl, entry), "revoked entry");
  made(X509_REVOKED_set_serialNumber(entry, serialOf(serial).get()), "serial");
  made(X509_REVOKED_set_revocationDate(entry, when), "revocation date");
}

}  // namespace

std::string makePfx(const PfxSpec& spec) {
  const bool legacy = spec.form == PfxForm::legacy;
  const X509StackPtr others(made(sk_X509_new_null(), "stack"));
  for (const Certificate& certificate : spec.caCertificates) made(sk_X509_push(others.get(), certificate.get()), "CA");
  const Pkcs12Ptr pfx(
      made(PKCS12_create_ex(spec.password.c_str(), "signer", spec.identity.key.get(), spec.identity.certificate.get(),
                            others.get(), legacy ? NID_pbe_WithSHA1And3_Key_TripleDES_CBC : NID_aes_256_cbc,
                            legacy ? NID_pbe_WithSHA1And40BitRC2_CBC : NID_aes_256_cbc, kIterations,
                            -1 /* no MAC yet */, 0, legacy ? legacyContext() : nullptr, nullptr),
           "PFX"));
  const EVP_MD* digest = legacy ? EVP_sha1() : EVP_sha256();
  if (spec.form != PfxForm::withoutMac) {
    made(PKCS12_set_mac(pfx.get(), spec.password.c_str(), -1, nullptr, 0, kIterations, digest), "PFX MAC");
  }
  return encode<i2d_PKCS12>(pfx.get());
}

std::string makeP7b(const std::vector<Certificate>& certificates, const std::vector<std::string>& crls) {
  const Pkcs7Ptr pkcs7(made(PKCS7_new(), "P7B"));
  made(PKCS7_set_type(pkcs7.get(), NID_pkcs7_signed), "P7B");
  made(PKCS7_content_new(pkcs7.get(), NID_pkcs7_data), "P7B");
  PKCS7_set_detached(pkcs7.get(), 1);
  for (const Certificate& certificate : certificates) {
    made(PKCS7_add_certificate(pkcs7.get(), certificate.get()), "P7B certificate");
  }
  for (const std::string& crl : crls) {
    made(PKCS7_add_crl(pkcs7.get(), X509CrlPtr(decode<d2i_X509_CRL>(crl)).get()), "P7B CRL");
  }
  return encode<i2d_PKCS7>(pkcs7.get());
}

std::string makeCrl(const CrlSpec& spec) {
  const X509CrlPtr crl(made(X509_CRL_new(), "CRL"));
  const Owned<ASN1_TIME_free, ASN1_TIME> time(made(ASN1_TIME_new(), "time"));
  made(X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2), "version");
  made(X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(spec.issuer.certificate.get())), "issuer");
  made(ASN1_TIME_set_string(time.get(), spec.lastUpdate.c_str()), "lastUpdate");
  made(X509_CRL_set1_lastUpdate(crl.get(), time.get()), "lastUpdate");
  for (const std::string& serial : spec.serials) addRevoked(crl.get(), serial, time.get());
  if (!spec.nextUpdate.empty()) {
    made(ASN1_TIME_set_string(time.get(), spec.nextUpdate.c_str()), "nextUpdate");
    made(X509_CRL_set1_nextUpdate(crl.get(), time.get()), "nextUpdate");
  }
  made(X509_CRL_sign(crl.get(), spec.issuer.key.get(), EVP_sha256()), "CRL signature");
  return encode<i2d_X509_CRL>(crl.get());
}

SignatureFacts factsOf(const std::string& der) {
  const Pkcs7Ptr pkcs7(decode<d2i_PKCS7>(der));
  made(PKCS7_type_is_signed(pkcs7.get()), "signed data");
  const PKCS7_SIGNED* body = pkcs7->d.sign;
  const PKCS7_SIGNER_INFO* signer = made(sk_PKCS7_SIGNER_INFO_value(body->signer_info, 0), "signer");
  SignatureFacts facts{.digest = OBJ_nid2sn(OBJ_obj2nid(signer->digest_alg->algorithm)),
                       .detached = PKCS7_get_detached(pkcs7.get()) != 0};
  for (int i = 0; i < sk_X509_num(body->cert); ++i) {
    facts.certificates.push_back(encode<i2d_X509>(sk_X509_value(body->cert, i)));
  }
  for (int i = 0; i < sk_X509_ATTRIBUTE_num(signer->auth_attr); ++i) {
    X509_ATTRIBUTE* attribute = sk_X509_ATTRIBUTE_value(signer->auth_attr, i);
    facts.attributes.emplace_back(OBJ_nid2sn(OBJ_obj2nid(X509_ATTRIBUTE_get0_object(attribute))));
  }
  return facts;
}

}  // namespace zepasign::testing
