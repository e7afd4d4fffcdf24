// Keys and certificates to try the library with, made in memory with libcrypto alone, so that no private key and
// nothing that expires is committed: for `zepasign init --demo`, tests, fuzzers and benchmarks.
//
// Whatever cannot be made throws std::runtime_error with OpenSSL's reason. Keys and certificates are shared, not
// copied, and nobody changes them once they are made. One thread at a time.
//
// From plan to file: fill a CertPlan, make an Identity of it, use that as the issuer of the next, and write the results
// with containers.h. makePki does so for the usual three certificates. Certificates are X.509 version 3 (RFC 5280).
#ifndef ZEPASIGN_DEMO_CERTIFICATES_H_
#define ZEPASIGN_DEMO_CERTIFICATES_H_

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zepasign::demo {

// Key, Certificate: shared owners; the object is freed with its last owner. A `get()` pointer is borrowed.
using Key = std::shared_ptr<EVP_PKEY>;
using Certificate = std::shared_ptr<X509>;

// Name: the entries of a distinguished name in order, {{"C", "TW"}, {"OU", "A"}, {"OU", "B"}}; values are UTF-8.
using Name = std::vector<std::pair<std::string, std::string>>;

// Identity: a certificate and the private key to it; both null means no identity.
struct Identity {
  Key key;
  Certificate certificate;
};

// rsaKey: 2048 bits, made at its first use and the same for the rest of the process, since making one is slow.
[[nodiscard]] Key rsaKey();

// newRsaKey: a new key of 2048 bits; takes a tenth of a second or more.
[[nodiscard]] Key newRsaKey();

// newEcKey: a new P-256 key; takes less than a millisecond.
[[nodiscard]] Key newEcKey();

// CertPlan: what a certificate contains. The extensions take texts in OpenSSL's configuration syntax (x509v3_config);
// an empty text leaves the extension out. Malformed or rare forms go into `otherExtensions` as DER, for instance
// {"crlDistributionPoints", "DER:30:..."}. Nothing is checked, so that a plan may be wrong in any one way.
struct CertPlan {
  Name subject = {{"C", "TW"}, {"O", "Zepa Test"}, {"CN", "Test Signer"}};
  Identity issuer = {};                       // without one: self-signed
  Key key = {};                               // null: a new P-256 key
  std::string serial = {};                    // hexadecimal, "-" before a negative one; empty: a unique one
  std::string notBefore = "20200101000000Z";  // 13 characters or less: UTCTime, else GeneralizedTime; never checked
  std::string notAfter = "20991231235959Z";
  std::string digest = "SHA256";  // of the issuer's signature
  std::string basicConstraints = {};
  std::string keyUsage = "digitalSignature,nonRepudiation";
  std::string subjectKeyId = "hash";
  std::string authorityKeyId = "keyid";
  std::vector<std::string> crlUris = {};  // one distribution point each
  std::vector<std::pair<std::string, std::string>> otherExtensions = {};
};

// caPlan: a certificate authority of that common name below `issuer`, or a root without one. It may sign certificates
// and CRLs, and gets a P-256 key of its own.
[[nodiscard]] CertPlan caPlan(const std::string& commonName, const Identity& issuer = {});

// signerPlan: an end entity below `issuer`, which may sign, with this key; null: rsaKey().
[[nodiscard]] CertPlan signerPlan(const Identity& issuer, const Key& key = {});

// makeIdentity: the certificate of the plan, signed by its issuer, and its key. Throws when OpenSSL does not
// know an extension or an entry of the name. REQUIRES: plan.issuer has both key and certificate, or neither.
[[nodiscard]] Identity makeIdentity(const CertPlan& plan);

// Pki: a root, a CA below it, and a signer that the CA certified.
struct Pki {
  Identity root, ca, signer;
};

// PkiPlan: in what one PKI differs from another. `change` sees the plan's subject as it will be, and may change any
// field.
struct PkiPlan {
  std::string organization = "Zepa Test";  // of all three; the country is TW
  std::string rootName = "Test Root", caName = "Test CA", signerName = "Test Signer";
  Key signerKey = {};                   // null: rsaKey()
  void (*change)(CertPlan&) = nullptr;  // called with each plan before its certificate is made
};
// makePki: makes the three in the order root, CA, signer.
[[nodiscard]] Pki makePki(const PkiPlan& plan = {});

// subjectKeyIdOf: upper-case hexadecimal, empty when the certificate has none.
[[nodiscard]] std::string subjectKeyIdOf(const Certificate& certificate);

// derOf: the certificate's bytes, as files and signatures hold them.
[[nodiscard]] std::string derOf(const Certificate& certificate);

// pemOf: `der` as PEM text (RFC 7468) under a label such as "CERTIFICATE", "PKCS7" or "X509 CRL".
[[nodiscard]] std::string pemOf(const std::string& label, const std::string& der);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_CERTIFICATES_H_
