// ZEPASignDLL for C++ programs: signs texts, bytes and files, from any thread.
//
//   signer::initialize("app.properties");
//   std::cout << signer::signFile("document.pdf").base64;
//
// The library holds one signer for the whole process and has no lock. This module holds a lock of its own while it
// signs and reads the result, and copies each text before it releases the lock. Call the library through this module
// only. Texts are UTF-8 here; file names are passed on as they are.
#ifndef SIGNER_H_
#define SIGNER_H_

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

namespace signer {

// Error: a call that failed, with the library's error code and message. The log tells the cause.
class Error : public std::runtime_error {
 public:
  Error(const std::string& function, int code, const std::string& message)
      : std::runtime_error(function + " failed with " + std::to_string(code) + ": " + message), code_(code) {}
  [[nodiscard]] int code() const noexcept { return code_; }

 private:
  int code_;
};

// Certificate: the signer's. Dates are YYYYMMDDhhmmss in UTC+8; in subject and issuer, bytes beyond ASCII read \xE9.
struct Certificate {
  std::string base64;
  std::string subjectCN;  // always empty with OpenSSL 3; commonName() has the name
  std::string subject;
  std::string issuer;
  std::string notBefore;
  std::string notAfter;
  std::string serial;
  std::string fingerprint;

  // commonName: the signer's name with its Chinese characters.
  [[nodiscard]] std::string commonName() const;
};

// Signature: PKCS#7, Base64 of the DER, and the certificate that made it.
struct Signature {
  std::string base64;
  Certificate certificate;
};

// version: the library's.
std::string version();

// initialize: loads the settings and the PFX. With PSWD.authKey in the property file, the encrypted password comes from
// `encedFile` or, without one, from the service manager's credential "enced".
void initialize(const std::string& propertyFile, std::optional<std::string> encedFile = std::nullopt);

// signText: signs a UTF-8 text in the encoding "BIG5" or "UTF-16LE". Throws std::invalid_argument for a character that
// Big5 lacks; such a text can be signed as bytes.
[[nodiscard]] Signature signText(const std::string& utf8, const std::string& encoding = "BIG5");

// signBytes: signs 1 to 2147483647 bytes.
[[nodiscard]] Signature signBytes(const void* data, std::size_t length);

// signFile: signs the content of a file.
[[nodiscard]] Signature signFile(const std::string& fileName);

// encryptPassword: the encrypted form of the PFX password, for the file that initialize() reads. In a process that
// never initializes, the library's log lines go to the standard output when the process ends.
[[nodiscard]] std::string encryptPassword(const std::string& propertyFile, const std::string& password);

}  // namespace signer

#endif  // SIGNER_H_
