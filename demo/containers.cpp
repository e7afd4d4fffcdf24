#include "demo/containers.h"

#include "demo/handles.h"

namespace zepasign::demo {
namespace {

// legacyContext: RC2-40 comes from the legacy provider; in a context of its own, the default one stays as it is.
OSSL_LIB_CTX* legacyContext() {
  static const LibCtxPtr context(must(OSSL_LIB_CTX_new(), "context"));
  static const ProviderPtr legacy(must(OSSL_PROVIDER_load(context.get(), "legacy"), "legacy provider"));
  static const ProviderPtr standard(must(OSSL_PROVIDER_load(context.get(), "default"), "default provider"));
  return context.get();
}

void addRevoked(X509_CRL* crl, const std::string& serial, ASN1_TIME* when) {
  X509_REVOKED* entry = must(X509_REVOKED_new(), "revoked entry");
  must(X509_CRL_add0_revoked(crl, entry), "revoked entry");
  must(X509_REVOKED_set_serialNumber(entry, serialOf(serial).get()), "serial");
  must(X509_REVOKED_set_revocationDate(entry, when), "revocation date");
}

}  // namespace

std::string makePfx(const PfxPlan& plan) {
  const bool legacy = plan.form == PfxForm::legacy;
  const int modern = plan.form == PfxForm::unencrypted ? -1 : NID_aes_256_cbc;
  const X509StackPtr others(must(sk_X509_new_null(), "stack"));
  for (const Certificate& certificate : plan.caCertificates) must(sk_X509_push(others.get(), certificate.get()), "CA");
  const Pkcs12Ptr pfx(
      must(PKCS12_create_ex(plan.password.c_str(), "signer", plan.identity.key.get(), plan.identity.certificate.get(),
                            others.get(), legacy ? NID_pbe_WithSHA1And3_Key_TripleDES_CBC : modern,
                            legacy ? NID_pbe_WithSHA1And40BitRC2_CBC : modern, plan.iterations, -1 /* no MAC yet */, 0,
                            legacy ? legacyContext() : nullptr, nullptr),
           "PFX"));
  const EVP_MD* digest = legacy ? EVP_sha1() : EVP_sha256();
  if (plan.form != PfxForm::withoutMac) {
    must(PKCS12_set_mac(pfx.get(), plan.password.c_str(), -1, nullptr, 0, plan.iterations, digest), "PFX MAC");
  }
  return encode<i2d_PKCS12>(pfx.get());
}

std::string makeP7b(const std::vector<Certificate>& certificates, const std::vector<std::string>& crls) {
  const Pkcs7Ptr pkcs7(must(PKCS7_new(), "P7B"));
  must(PKCS7_set_type(pkcs7.get(), NID_pkcs7_signed), "P7B");
  must(PKCS7_content_new(pkcs7.get(), NID_pkcs7_data), "P7B");
  PKCS7_set_detached(pkcs7.get(), 1);
  for (const Certificate& certificate : certificates) {
    must(PKCS7_add_certificate(pkcs7.get(), certificate.get()), "P7B certificate");
  }
  for (const std::string& crl : crls) {
    must(PKCS7_add_crl(pkcs7.get(), X509CrlPtr(decode<d2i_X509_CRL>(crl)).get()), "P7B CRL");
  }
  return encode<i2d_PKCS7>(pkcs7.get());
}

std::string makeCrl(const CrlPlan& plan) {
  const X509CrlPtr crl(must(X509_CRL_new(), "CRL"));
  const Owned<ASN1_TIME_free, ASN1_TIME> time(must(ASN1_TIME_new(), "time"));
  must(X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2), "version");
  must(X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(plan.issuer.certificate.get())), "issuer");
  must(ASN1_TIME_set_string(time.get(), plan.lastUpdate.c_str()), "lastUpdate");
  must(X509_CRL_set1_lastUpdate(crl.get(), time.get()), "lastUpdate");
  for (const std::string& serial : plan.serials) addRevoked(crl.get(), serial, time.get());
  if (!plan.nextUpdate.empty()) {
    must(ASN1_TIME_set_string(time.get(), plan.nextUpdate.c_str()), "nextUpdate");
    must(X509_CRL_set1_nextUpdate(crl.get(), time.get()), "nextUpdate");
  }
  must(X509_CRL_sign(crl.get(), plan.issuer.key.get(), EVP_sha256()), "CRL signature");
  return encode<i2d_X509_CRL>(crl.get());
}

}  // namespace zepasign::demo
