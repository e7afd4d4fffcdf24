#include "tools/files/describe.h"

#include <array>
#include <ctime>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "pki/cpkcs12.h"
#include "pki/cx509.h"
#include "tools/files/timestamp.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

std::string algorithmText(const X509_ALGOR* algorithm) {
  const ASN1_OBJECT* object = nullptr;
  X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
  std::array<char, 80> text{};
  OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 0);
  return text.data();
}

Json usageList(X509* certificate) {
  static constexpr std::array<const char*, 9> kNames = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                                        "dataEncipherment", "keyAgreement",   "keyCertSign",
                                                        "cRLSign",          "encipherOnly",   "decipherOnly"};
  const BitStringPtr bits(
      static_cast<ASN1_BIT_STRING*>(X509_get_ext_d2i(certificate, NID_key_usage, nullptr, nullptr)));
  Json names = Json::array();
  for (std::size_t i = 0; bits && i < kNames.size(); ++i) {
    if (ASN1_BIT_STRING_get_bit(bits.get(), static_cast<int>(i)) == 1) names.push_back(kNames[i]);
  }
  return names;
}

Json describeAll(const STACK_OF(X509) * certificates) {
  Json list = Json::array();
  for (int i = 0; i < sk_X509_num(certificates); ++i)
    list.push_back(describeCertificate(sk_X509_value(certificates, i)));
  return list;
}

Json attributeNames(const PKCS7_SIGNER_INFO* signer) {
  Json names = Json::array();
  for (int i = 0; i < sk_X509_ATTRIBUTE_num(signer->auth_attr); ++i) {
    X509_ATTRIBUTE* attribute = sk_X509_ATTRIBUTE_value(signer->auth_attr, i);
    std::array<char, 80> text{};
    OBJ_obj2txt(text.data(), static_cast<int>(text.size()), X509_ATTRIBUTE_get0_object(attribute), 0);
    names.push_back(text.data());
  }
  return names;
}

}  // namespace

std::string nameText(const X509_NAME* name) {
  const BioPtr stream(BIO_new(BIO_s_mem()));
  X509_NAME_print_ex(stream.get(), name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
  char* text = nullptr;
  const long length = BIO_get_mem_data(stream.get(), &text);
  return toUtf8(std::string(text, static_cast<std::size_t>(length)));
}

std::string keyText(const EVP_PKEY* key) {
  const char* type = key == nullptr ? nullptr : EVP_PKEY_get0_type_name(key);
  return type == nullptr ? "?" : std::string(type) + " " + std::to_string(EVP_PKEY_get_bits(key));
}

const ASN1_TIME* signingTimeOf(const PKCS7_SIGNER_INFO* signer) {
  const ASN1_TYPE* value = PKCS7_get_signed_attribute(signer, NID_pkcs9_signingTime);
  const bool isTime = value != nullptr && (value->type == V_ASN1_UTCTIME || value->type == V_ASN1_GENERALIZEDTIME);
  return isTime ? value->value.asn1_string : nullptr;
}

Json timeText(const ASN1_TIME* time) {
  std::tm utc{};
  std::array<char, 32> text{};
  if (time == nullptr || ASN1_TIME_to_tm(time, &utc) != 1) return nullptr;
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text.data();
}

std::optional<std::time_t> timeOf(const ASN1_TIME* time) {
  constexpr std::time_t kSecondsADay = 86'400;
  const Asn1TimePtr epoch(ASN1_TIME_set(nullptr, 0));
  int days = 0;
  int seconds = 0;
  if (time == nullptr || ASN1_TIME_diff(&days, &seconds, epoch.get(), time) != 1) return std::nullopt;
  return days * kSecondsADay + seconds;
}

int daysUntil(const ASN1_TIME* time) {
  int days = 0;
  int seconds = 0;
  ASN1_TIME_diff(&days, &seconds, nullptr, time);
  return seconds < 0 ? days - 1 : days;
}

std::string chainProblem(int code) {
  switch (code) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return tr("a certificate has expired"_m);
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return tr("a certificate is not yet valid"_m);
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
      return tr("no path to a trusted certificate"_m);
    case X509_V_ERR_CERT_REVOKED:
      return tr("a certificate is revoked"_m);
    case X509_V_ERR_UNABLE_TO_GET_CRL:
      return tr("no CRL of the certificate's issuer was given with --crl"_m);
    case X509_V_ERR_CRL_HAS_EXPIRED:
      return tr("the CRL has expired"_m);
    default:
      return X509_verify_cert_error_string(code);
  }
}

Json describeCertificate(X509* certificate) {
  const cX509 fields(certificate);
  Json points = Json::array();
  for (const std::string& point : fields.getCrlDistPoints()) points.push_back(toUtf8(point));
  const X509_ALGOR* algorithm = nullptr;
  X509_get0_signature(nullptr, &algorithm, certificate);
  return {{"subject", nameText(X509_get_subject_name(certificate))},
          {"issuer", nameText(X509_get_issuer_name(certificate))},
          {"serial", fields.getSerial()},
          {"notBefore", timeText(X509_get0_notBefore(certificate))},
          {"notAfter", timeText(X509_get0_notAfter(certificate))},
          {"publicKey", keyText(X509_get0_pubkey(certificate))},
          {"signatureAlgorithm", algorithmText(algorithm)},
          {"keyUsage", usageList(certificate)},
          {"subjectKeyId", fields.getSubjectKeyId()},
          {"authorityKeyId", fields.getAuthorityKeyId()},
          {"crlDistributionPoints", points},
          {"fingerprint", fields.getFingerprint()}};
}

Json describeCrl(X509_CRL* crl) {
  Json revoked = Json::array();
  STACK_OF(X509_REVOKED)* entries = X509_CRL_get_REVOKED(crl);
  for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i) {
    const X509_REVOKED* entry = sk_X509_REVOKED_value(entries, i);
    revoked.push_back({{"serial", serialToText(X509_REVOKED_get0_serialNumber(entry))},
                       {"revocationDate", timeText(X509_REVOKED_get0_revocationDate(entry))}});
  }
  const ASN1_TIME* next = X509_CRL_get0_nextUpdate(crl);
  return {{"kind", "crl"},
          {"issuer", nameText(X509_CRL_get_issuer(crl))},
          {"lastUpdate", timeText(X509_CRL_get0_lastUpdate(crl))},
          {"nextUpdate", timeText(next)},
          {"expired", next != nullptr && daysUntil(next) < 0},
          {"revoked", revoked}};
}

Json describeSigner(PKCS7_SIGNER_INFO* signer, STACK_OF(X509) * candidates) {
  X509_ALGOR* digest = nullptr;
  PKCS7_SIGNER_INFO_get0_algs(signer, nullptr, &digest, nullptr);
  const PKCS7_ISSUER_AND_SERIAL* id = signer->issuer_and_serial;
  X509* certificate = X509_find_by_issuer_and_serial(candidates, id->issuer, id->serial);
  Json described = {{"subject", certificate == nullptr ? Json() : Json(nameText(X509_get_subject_name(certificate)))},
                    {"issuer", nameText(id->issuer)},
                    {"serial", serialToText(id->serial)},
                    {"digest", algorithmText(digest)},
                    {"signingTime", timeText(signingTimeOf(signer))},
                    {"signedAttributes", attributeNames(signer)}};
  for (const Pkcs7Ptr& token : tokensOf(signer)) described["timeStamps"].push_back(describeToken(token.get()));
  return described;
}

Json describePkcs7(PKCS7* pkcs7) {
  STACK_OF(PKCS7_SIGNER_INFO)* signers = signersOf(pkcs7);
  if (sk_PKCS7_SIGNER_INFO_num(signers) <= 0) {
    return {{"kind", "chain"}, {"certificates", describeAll(certificatesOf(pkcs7))}};
  }
  Json described = Json::array();
  for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signers); ++i) {
    described.push_back(describeSigner(sk_PKCS7_SIGNER_INFO_value(signers, i), certificatesOf(pkcs7)));
  }
  const PKCS7* contents = pkcs7->d.sign->contents;
  const ASN1_OCTET_STRING* content = PKCS7_type_is_data(contents) ? contents->d.data : nullptr;
  return {{"kind", "signature"},
          {"detached", PKCS7_get_detached(pkcs7) != 0},
          {"contentBytes", content == nullptr ? Json() : Json(ASN1_STRING_length(content))},
          {"signers", described},
          {"certificates", describeAll(certificatesOf(pkcs7))}};
}

Json describeRequest(X509_REQ* request) {
  const X509_ALGOR* algorithm = nullptr;
  X509_REQ_get0_signature(request, nullptr, &algorithm);
  return {{"kind", "request"},
          {"subject", nameText(X509_REQ_get_subject_name(request))},
          {"publicKey", keyText(X509_REQ_get0_pubkey(request))},
          {"signatureAlgorithm", algorithmText(algorithm)}};
}

Json describePfx(PKCS12* pfx, const std::string& password) {
  const X509_ALGOR* algorithm = nullptr;
  PKCS12_get0_mac(nullptr, &algorithm, nullptr, nullptr, pfx);
  const bool hasMac = PKCS12_mac_present(pfx) == 1;
  Json tree = {{"kind", "pfx"},
               {"mac", hasMac ? Json(algorithmText(algorithm)) : Json()},
               {"macIterations", macIterations(pfx)}};
  PfxContent content;
  const bool opened = openPfx(pfx, password, content);
  tree["opened"] = opened;
  if (!opened) return tree;
  tree["privateKey"] = content.key ? Json(keyText(content.key.get())) : Json();
  tree["certificate"] = content.certificate ? describeCertificate(content.certificate.get()) : Json();
  tree["otherCertificates"] = describeAll(content.others.get());
  return tree;
}

}  // namespace zepasign::tools
