// The PFX password in its three forms: plain in the property file (PFX.pswd), encrypted in the property file
// (PFX.pswdB64), and encrypted and handed over by the caller, for which the property file names PSWD.authKey.
//
//   key     AES-256, 64 hexadecimal digits in PSWD.license
//   vector  SHA-256 of PSWD.authKey for the caller's form, the key itself for PFX.pswdB64
#ifndef ZEPASIGN_API_PFXPASSWORD_H_
#define ZEPASIGN_API_PFXPASSWORD_H_

#include <string>

namespace zepasign {

class cProperty;

// resolvePfxPassword: finds the password and writes it to `password`, which the caller wipes. Returns 0, 5005 or 5208,
// the message logged. REQUIRES: `license` is the non-empty PSWD.license.
[[nodiscard]] int resolvePfxPassword(const cProperty& property, const std::string& license, const char* encedPfxPasswd,
                                     std::string& password);

// makeEncedPfxPasswd: what MakeZEPASignPasswd promises.
[[nodiscard]] int makeEncedPfxPasswd(char* outBuf, int* outLen, const char* propertyFile, const char* passwd);

}  // namespace zepasign

#endif  // ZEPASIGN_API_PFXPASSWORD_H_
