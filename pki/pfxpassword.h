// The PFX password: the forms in which it is given, their order, and their encryption. The library and the command line
// both use this unit.
//
//   form       where it stands                   iv
//   caller's   encedPfxPasswd, Base64            SHA-256 of PSWD.authKey
//   plain      PFX.pswd                          (not encrypted)
//   stored     PFX.pswdB64, Base64               the key itself
//   file       first line of PFX.pswdFile        (not encrypted)
//
// Both encrypted forms are AES-256 ciphertext; the key is PSWD.license, 64 hexadecimal digits. The table also gives the
// order: the first form counts whose key (PSWD.authKey, PFX.pswd, PFX.pswdB64, PFX.pswdFile) has a value.
//
// Every text that holds a password or a key is wiped here; the caller wipes what it receives.
#ifndef ZEPASIGN_PKI_PFXPASSWORD_H_
#define ZEPASIGN_PKI_PFXPASSWORD_H_

#include <string>
#include <string_view>

namespace zepasign {

class cProperty;

// kMaxPasswordLength: in bytes; one less than the area for the decrypted text, since padding adds at least one byte.
inline constexpr int kMaxPasswordLength = 511;

enum class PasswordForm { kCallers, kPlain, kStored, kFile, kNone };

// findPasswordForm: the form that counts. `value` receives the value of its key, a secret: that of PSWD.authKey for the
// caller's form, the file's path for the last one. REQUIRES: `value` is empty.
[[nodiscard]] PasswordForm findPasswordForm(const cProperty& property, std::string& value);

// resolvePfxPassword: writes the password to `password`; `encedPfxPasswd` is the caller's form and may be null where
// another form counts. Returns 0, 5005 or, without a key for the caller's form, 5208, the message logged.
// REQUIRES: `password` is empty.
[[nodiscard]] int resolvePfxPassword(const cProperty& property, const char* encedPfxPasswd, std::string& password);

// isPasswordKey: whether PSWD.license gives a key: at least 64 digits, an even number of them.
[[nodiscard]] bool isPasswordKey(const std::string& license);

// encryptStoredPassword: the value for PFX.pswdB64; empty when the license is no key or the password is empty or longer
// than kMaxPasswordLength.
[[nodiscard]] std::string encryptStoredPassword(const std::string& license, std::string_view password);

// makeEncedPfxPasswd: what MakeZEPASignPasswd promises (see ZEPASignDLL.h). REQUIRES: `outLen` is not null.
[[nodiscard]] int makeEncedPfxPasswd(char* outBuf, int* outLen, const char* propertyFile, const char* passwd);

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_PFXPASSWORD_H_
