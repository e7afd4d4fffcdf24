// Keys and certificates to try the library with, made in memory with libcrypto alone, so that nothing secret or
// perishable is committed: for the demo, and for tests, fuzzers and benchmarks. Everything that cannot be made throws
// std::runtime_error with OpenSSL's reason.
#ifndef ZEPASIGN_DEMO_CERTIFICATES_H_
#define ZEPASIGN_DEMO_CERTIFICATES_H_

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zepasign::demo {

using Key = std::shared_ptr<EVP_PKEY>;
using Certificate = std::shared_ptr<X509>;

// Name: the entries of a distinguished name in order, {{"C", "TW"}, {"OU", "A"}, {"OU", "B"}}; values are UTF-8.
using Name = std::vector<std::pair<std::string, std::string>>;

// Identity: a certificate and the private key to it; both null stands for nobody.
struct Identity {
  Key key;
  Certificate certificate;
};

// rsaKey: 2048 bits, made at its first use and the same for the rest of the process, since making one is slow.
[[nodiscard]] Key rsaKey();

// newRsaKey: a fresh one of 2048 bits.
[[nodiscard]] Key newRsaKey();

// newEcKey: a fresh P-256 key; quick.
[[nodiscard]] Key newEcKey();

// CertPlan: what a certificate shall say. The extensions take OpenSSL's configuration texts; an empty text leaves the
// extension out. Malformed or rare forms go into `otherExtensions` as {"crlDistributionPoints", "DER:30:..."}.
struct CertPlan {
  Name subject = {{"C", "TW"}, {"O", "Zepa Test"}, {"CN", "Test Signer"}};
  Identity issuer = {};                       // nobody: self-signed
  Key key = {};                               // null: a fresh P-256 key
  std::string serial = {};                    // hexadecimal, "-" before a negative one; empty: one that no other has
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

// caPlan: a certificate authority of that common name below `issuer`, or a root.
[[nodiscard]] CertPlan caPlan(const std::string& commonName, const Identity& issuer = {});

// signerPlan: an end entity with the process's RSA key.
[[nodiscard]] CertPlan signerPlan(const Identity& issuer);

[[nodiscard]] Identity makeIdentity(const CertPlan& plan);

// Pki: a root, a CA below it, and a signer that the CA certified.
struct Pki {
  Identity root, ca, signer;
};

// PkiPlan: in what one PKI differs from another.
struct PkiPlan {
  std::string organization = "Zepa Test";  // of all three; the country is TW
  std::string rootName = "Test Root", caName = "Test CA", signerName = "Test Signer";
  Key signerKey = {};                   // null: rsaKey()
  void (*change)(CertPlan&) = nullptr;  // called with each plan before its certificate is made
};
[[nodiscard]] Pki makePki(const PkiPlan& plan = {});

// subjectKeyIdOf: upper-case hexadecimal, empty when the certificate has none.
[[nodiscard]] std::string subjectKeyIdOf(const Certificate& certificate);

[[nodiscard]] std::string derOf(const Certificate& certificate);

// pemOf: `der` in PEM armour under a label such as "CERTIFICATE", "PKCS7" or "X509 CRL".
[[nodiscard]] std::string pemOf(const std::string& label, const std::string& der);

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_CERTIFICATES_H_
