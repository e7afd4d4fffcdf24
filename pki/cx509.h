// cX509: the fields of one certificate as texts, so that every place prints a field the same way. A text is empty when
// the field is absent; nothing here reports an error. Hexadecimal text is upper case, two digits a byte, no separators.
#ifndef ZEPASIGN_PKI_CX509_H_
#define ZEPASIGN_PKI_CX509_H_

#include <string>
#include <vector>

#include "pki/openssl.h"

namespace zepasign {

class cX509 {
 public:
  // cX509: holds the certificate in its own right, so the caller's handle may go first. A reference, not a copy:
  // nothing here changes a certificate, and a copy would cost more than all fields of a signature together.
  explicit cX509(X509* x509) : x509_(x509) { X509_up_ref(x509); }
  virtual ~cX509() = default;
  cX509(const cX509&) = delete;
  cX509& operator=(const cX509&) = delete;

  // get0: borrowed, valid as long as this object.
  [[nodiscard]] X509* get0() const noexcept { return x509_.get(); }

  // getIssuerOneLine, getSubjectOneLine: /C=.../O=.../CN=..., cut at 511 bytes.
  [[nodiscard]] std::string getIssuerOneLine() const;
  [[nodiscard]] std::string getSubjectOneLine() const;
  // isSelfIssued: whether the two are the same; says nothing of signatures or keys.
  [[nodiscard]] bool isSelfIssued() const;

  // getSubjectCN: the empty text for every name that the crypto library decoded; see the implementation.
  [[nodiscard]] std::string getSubjectCN() const;
  // getIssuerCN: the raw bytes of the issuer's first common name.
  [[nodiscard]] std::string getIssuerCN() const;

  [[nodiscard]] std::string getSerial() const;
  [[nodiscard]] std::string getSubjectKeyId() const;
  [[nodiscard]] std::string getAuthorityKeyId() const;

  // getCrlDistPoints: one text per name of every distribution point, in certificate order. A kind of name that is not a
  // string gives an empty text.
  [[nodiscard]] std::vector<std::string> getCrlDistPoints() const;

  // getFingerprint: SHA-1 of the DER.
  [[nodiscard]] std::string getFingerprint() const;

  [[nodiscard]] std::string getNotBefore() const;
  [[nodiscard]] std::string getNotAfter() const;

  // getKeyUsage: whether there is a key usage extension; `usage` receives its first byte plus its second times 256, or
  // 0.
  bool getKeyUsage(unsigned& usage) const;

 private:
  X509Ptr x509_;
};

// Bits of getKeyUsage (RFC 5280, section 4.2.1.3).
inline constexpr unsigned kDigitalSignature = 0x80;
inline constexpr unsigned kNonRepudiation = 0x40;
inline constexpr unsigned kKeyCertSign = 0x04;
inline constexpr unsigned kCrlSign = 0x02;

// asn1TimeToText: a certificate's or CRL's time as 14 digits of UTC+8 wall clock, free of the machine's zone; empty
// when null. The digits are taken as they stand; a zone suffix is not read.
[[nodiscard]] std::string asn1TimeToText(const ASN1_TIME* time);

// serialToText: a serial number as hexadecimal text, "-" before a negative one.
[[nodiscard]] std::string serialToText(const ASN1_INTEGER* serial);

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_CX509_H_
