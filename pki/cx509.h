// cX509: the fields of one certificate (RFC 5280) as texts, so that the log, the queries and the filter all show a
// field in the same way.
//
//   name         /C=TW/O=ACME/CN=Chen, as X509_NAME_oneline writes it, at most 511 bytes
//   hexadecimal  upper case, two digits a byte, no separators
//   date         14 digits YYYYMMDDhhmmss of the UTC+8 wall clock
//
// A text is empty when the field is absent or cannot be decoded. The functions throw std::bad_alloc and nothing else.
#ifndef ZEPASIGN_PKI_CX509_H_
#define ZEPASIGN_PKI_CX509_H_

#include <string>
#include <vector>

#include "pki/openssl.h"

namespace zepasign {

class cX509 {
 public:
  // cX509: takes a reference of its own, so the caller's handle may go first. REQUIRES: x509 is not null.
  explicit cX509(X509* x509) : x509_(x509) { X509_up_ref(x509); }
  virtual ~cX509() = default;
  cX509(const cX509&) = delete;
  cX509& operator=(const cX509&) = delete;

  // get0: borrowed, valid as long as this object.
  [[nodiscard]] X509* get0() const noexcept { return x509_.get(); }

  // getIssuerOneLine, getSubjectOneLine: the names; a longer one ends with its last entry that fits.
  [[nodiscard]] std::string getIssuerOneLine() const;
  [[nodiscard]] std::string getSubjectOneLine() const;
  // isSelfIssued: whether the two are the same; says nothing about signatures or keys.
  [[nodiscard]] bool isSelfIssued() const;

  // getSubjectCN: empty for every name that the crypto library decoded, whatever it says; callers depend on that (see
  // the implementation). getSubjectOneLine has the name.
  [[nodiscard]] std::string getSubjectCN() const;
  // getIssuerCN: the raw bytes of the issuer's first common name.
  [[nodiscard]] std::string getIssuerCN() const;

  // getSerial, getSubjectKeyId, getAuthorityKeyId: hexadecimal; "-" stands before a negative serial number. The key
  // identifier is the whole extension for the subject, its keyIdentifier field for the authority.
  [[nodiscard]] std::string getSerial() const;
  [[nodiscard]] std::string getSubjectKeyId() const;
  [[nodiscard]] std::string getAuthorityKeyId() const;

  // getCrlDistPoints: one text per name of every distribution point, in certificate order. A kind of name that is not a
  // string gives an empty text.
  [[nodiscard]] std::vector<std::string> getCrlDistPoints() const;

  // getFingerprint: SHA-1 of the DER, hexadecimal.
  [[nodiscard]] std::string getFingerprint() const;

  // getNotBefore, getNotAfter: the bounds of the validity, both inclusive.
  [[nodiscard]] std::string getNotBefore() const;
  [[nodiscard]] std::string getNotAfter() const;

  // getKeyUsage: whether there is a key usage extension that can be read. `usage` receives its first byte plus 256
  // times its second, 0 when there is none.
  bool getKeyUsage(unsigned& usage) const;

 private:
  X509Ptr x509_;
};

// Bits of getKeyUsage (RFC 5280, section 4.2.1.3).
inline constexpr unsigned kDigitalSignature = 0x80;
inline constexpr unsigned kNonRepudiation = 0x40;
inline constexpr unsigned kKeyCertSign = 0x04;
inline constexpr unsigned kCrlSign = 0x02;

// asn1TimeToText: the time of a certificate or CRL as date text; empty when null. The machine's time zone plays no
// part. The digits are used as they are, a zone suffix is not read, and the result is what the arithmetic gives: a year
// that does not fit four digits makes the text longer.
[[nodiscard]] std::string asn1TimeToText(const ASN1_TIME* time);

// serialToText: a serial number as hexadecimal text, "-" before a negative one.
[[nodiscard]] std::string serialToText(const ASN1_INTEGER* serial);

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CX509_H_
