// The keys of the property file and its limits. Every key is a literal here and nowhere else: the library reads
// settings by these names, and the command line checks and writes files with them. docs/properties.md explains each
// key.
//
// Keys are compared byte by byte, letter case included. A key that is not listed here is ignored by the library and
// reported by `zepasign check`.
//
// To add a key: a constant here, in kPlainKeys too, and a section in docs/properties.md. A key whose value is secret
// must contain one of the words that isSecretKey of propertyrules.h knows.
//
// The constants live as long as the program. Any thread may call the functions; they throw std::bad_alloc.
#ifndef ZEPASIGN_BASE_PROPERTYKEYS_H_
#define ZEPASIGN_BASE_PROPERTYKEYS_H_

#include <string>
#include <vector>

namespace zepasign::keys {

// Limits. A line that is longer than kMaxLineLength bytes, without its "\n", is refused together with the whole file.
inline constexpr std::size_t kMaxLineLength = 511;
inline constexpr int kMaxChains = 10;      // chains P7B0 to P7B9
inline constexpr int kMaxCrlsOfChain = 5;  // CRLs crlFile0 to crlFile4 of each chain

// The log: its lowest level, the directory and first part of the day's file, and the encoding of its lines.
inline constexpr char kLogLevel[] = "LOG.level";
inline constexpr char kLogPath[] = "LOG.path";
inline constexpr char kLogFile[] = "LOG.file";
inline constexpr char kLogEncoding[] = "LOG.encoding";
// What a signature holds: digest algorithm, certificates, signed attributes, and the content that was signed.
inline constexpr char kDigest[] = "PKCS7.digest";
inline constexpr char kAddCert[] = "PKCS7.addCert";
inline constexpr char kAddTimestamp[] = "PKCS7.addTimestamp";
inline constexpr char kAddPlainText[] = "PKCS7.addPlainText";
// The PFX, its password in one of several forms, and which signers are accepted.
inline constexpr char kPfxPath[] = "PFX.path";
inline constexpr char kPfxFile[] = "PFX.file";
inline constexpr char kPfxPassword[] = "PFX.pswd";
inline constexpr char kPfxPasswordB64[] = "PFX.pswdB64";
inline constexpr char kPfxPasswordFile[] = "PFX.pswdFile";
inline constexpr char kSignerFilter[] = "PFX.signerFilter";
// The encryption of the PFX password: kLicense is an AES-256 key as 64 hexadecimal digits. With kAuthKey the host
// passes the encrypted password to ZEPASignInitial, and PFX.pswd and PFX.pswdB64 are not read.
inline constexpr char kLicense[] = "PSWD.license";
inline constexpr char kAuthKey[] = "PSWD.authKey";
// Directories of the chain files and of the CRL files.
inline constexpr char kChainPath[] = "P7B.path";
inline constexpr char kCrlPath[] = "CRL.path";

// kPlainKeys: the keys above, which exist once. The keys of a chain are built by the functions below, from the two
// titles.
inline constexpr const char* kPlainKeys[] = {kLogLevel,    kLogPath,        kLogFile,         kLogEncoding,  kDigest,
                                             kAddCert,     kAddTimestamp,   kAddPlainText,    kPfxPath,      kPfxFile,
                                             kPfxPassword, kPfxPasswordB64, kPfxPasswordFile, kSignerFilter, kLicense,
                                             kAuthKey,     kChainPath,      kCrlPath};

// chainTitle: "P7B0" to "P7B9", with which the keys of one chain begin. REQUIRES: 0 <= chain < kMaxChains.
[[nodiscard]] inline std::string chainTitle(int chain) { return "P7B" + std::to_string(chain); }
// crlTitle: "crlFile0" to "crlFile4". REQUIRES: 0 <= crl < kMaxCrlsOfChain.
[[nodiscard]] inline std::string crlTitle(int crl) { return "crlFile" + std::to_string(crl); }

// chainName, chainSki, crlFile: the keys of one chain, such as P7B0.name, P7B0.SKI and P7B0.crlFile0. Their values are
// the name of the chain's file, the subject key identifier (RFC 5280, section 4.2.1.2) of the CA that issued the
// signer, and the name of a CRL's file.
[[nodiscard]] inline std::string chainName(const std::string& chainTitle) { return chainTitle + ".name"; }
[[nodiscard]] inline std::string chainSki(const std::string& chainTitle) { return chainTitle + ".SKI"; }
[[nodiscard]] inline std::string crlFile(const std::string& chainTitle, const std::string& crlTitle) {
  return chainTitle + "." + crlTitle;
}

// all: every key that the library reads, those of all chains included: the plain keys, then chain by chain.
[[nodiscard]] inline std::vector<std::string> all() {
  std::vector<std::string> result(std::begin(kPlainKeys), std::end(kPlainKeys));
  for (int i = 0; i < kMaxChains; ++i) {
    const std::string title = chainTitle(i);
    result.insert(result.end(), {chainName(title), chainSki(title)});
    for (int crl = 0; crl < kMaxCrlsOfChain; ++crl) result.push_back(crlFile(title, crlTitle(crl)));
  }
  return result;
}

}  // namespace zepasign::keys

#endif  // ZEPASIGN_BASE_PROPERTYKEYS_H_
