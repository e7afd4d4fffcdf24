#include "demo/certificates.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include "demo/handles.h"

namespace zepasign::demo {
namespace {

Key owned(EVP_PKEY* key) { return {must(key, "key"), EVP_PKEY_free}; }

void fill(X509_NAME* name, const Name& entries) {
  for (const auto& [type, value] : entries) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.c_str());
    must(X509_NAME_add_entry_by_txt(name, type.c_str(), MBSTRING_UTF8, bytes, -1, -1, 0), type.c_str());
  }
}

Owned<ASN1_STRING_free, ASN1_STRING> timeOf(const std::string& text) {
  const int type = text.size() <= 13 ? V_ASN1_UTCTIME : V_ASN1_GENERALIZEDTIME;
  Owned<ASN1_STRING_free, ASN1_STRING> time(must(ASN1_STRING_type_new(type), "time"));
  must(ASN1_STRING_set(time.get(), text.data(), static_cast<int>(text.size())), "time");
  return time;
}

void addExtensions(X509* certificate, X509* issuer, const CertPlan& plan) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const auto add = [&](const std::string& name, const std::string& value) {
    if (value.empty()) return;
    const Owned<X509_EXTENSION_free, X509_EXTENSION> extension(
        must(X509V3_EXT_nconf(nullptr, &context, name.c_str(), value.c_str()), name.c_str()));
    must(X509_add_ext(certificate, extension.get(), -1), name.c_str());
  };
  std::string points;
  for (const std::string& uri : plan.crlUris) points += (points.empty() ? "URI:" : ",URI:") + uri;
  add("basicConstraints", plan.basicConstraints);
  add("keyUsage", plan.keyUsage);
  add("subjectKeyIdentifier", plan.subjectKeyId);
  add("authorityKeyIdentifier", plan.authorityKeyId);
  add("crlDistributionPoints", points);
  for (const auto& [name, value] : plan.otherExtensions) add(name, value);
}

}  // namespace

Key rsaKey() {
  static const Key key = newRsaKey();
  return key;
}

Key newRsaKey() { return owned(EVP_RSA_gen(2048)); }

Key newEcKey() { return owned(EVP_EC_gen("P-256")); }

CertPlan caPlan(const std::string& commonName, const Identity& issuer) {
  return {.subject = {{"C", "TW"}, {"O", "Zepa Test"}, {"CN", commonName}},
          .issuer = issuer,
          .basicConstraints = "critical,CA:TRUE",
          .keyUsage = "critical,keyCertSign,cRLSign",
          .authorityKeyId = issuer.key ? "keyid" : "keyid:always"};
}

CertPlan signerPlan(const Identity& issuer, const Key& key) { return {.issuer = issuer, .key = key ? key : rsaKey()}; }

Identity makeIdentity(const CertPlan& plan) {
  Identity self{plan.key ? plan.key : newEcKey(), {must(X509_new(), "certificate"), X509_free}};
  const Identity& issuer = plan.issuer.key ? plan.issuer : self;
  X509* certificate = self.certificate.get();
  static int serial = 1000;
  must(X509_set_version(certificate, X509_VERSION_3), "version");
  fill(X509_get_subject_name(certificate), plan.subject);
  must(X509_set_issuer_name(certificate, X509_get_subject_name(issuer.certificate.get())), "issuer");
  must(X509_set_serialNumber(certificate, serialOf(plan.serial.empty() ? std::to_string(++serial) : plan.serial).get()),
       "serial");
  must(X509_set1_notBefore(certificate, timeOf(plan.notBefore).get()), "notBefore");
  must(X509_set1_notAfter(certificate, timeOf(plan.notAfter).get()), "notAfter");
  must(X509_set_pubkey(certificate, self.key.get()), "public key");
  addExtensions(certificate, issuer.certificate.get(), plan);
  must(X509_sign(certificate, issuer.key.get(), EVP_get_digestbyname(plan.digest.c_str())), "certificate signature");
  return self;
}

Pki makePki(const PkiPlan& plan) {
  const auto make = [&plan](CertPlan certPlan, const std::string& commonName) {
    certPlan.subject = {{"C", "TW"}, {"O", plan.organization}, {"CN", commonName}};
    if (plan.change) plan.change(certPlan);
    return makeIdentity(certPlan);
  };
  const Identity root = make(caPlan(""), plan.rootName);
  const Identity ca = make(caPlan("", root), plan.caName);
  return {root, ca, make(signerPlan(ca, plan.signerKey), plan.signerName)};
}

std::string subjectKeyIdOf(const Certificate& certificate) {
  char hex[128] = "";
  if (const ASN1_OCTET_STRING* id = X509_get0_subject_key_id(certificate.get())) {
    must(OPENSSL_buf2hexstr_ex(hex, sizeof hex, nullptr, id->data, static_cast<std::size_t>(id->length), '\0'), "SKI");
  }
  return hex;
}

std::string derOf(const Certificate& certificate) { return encode<i2d_X509>(certificate.get()); }

std::string pemOf(const std::string& label, const std::string& der) {
  const BioPtr memory(must(BIO_new(BIO_s_mem()), "memory stream"));
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  must(PEM_write_bio(memory.get(), label.c_str(), "", bytes, static_cast<long>(der.size())), "PEM");
  std::string text(BIO_ctrl_pending(memory.get()), '\0');
  must(BIO_read(memory.get(), text.data(), static_cast<int>(text.size())) > 0, "PEM");
  return text;
}

}  // namespace zepasign::demo
