/*
 * ZEPASignDLL: PKCS#7 signed data (RFC 2315) made with the private key and certificate of a PFX (PKCS#12) file.
 *
 *   if (!ZEPASignInitial("app.properties", NULL)) ...        once; everything is driven by that property file
 *   if (SignPkcs7Bin(data, dataLen) != 0) puts(GetErrorMsg());
 *   puts(GetSignedPkcs7());                                  Base64 of the DER, on one line
 *
 * Texts are NUL-terminated byte strings in the process's code page; messages are Traditional Chinese in Big5 (code
 * page 950).
 *
 * Ownership: every returned text belongs to the library; do not free it. GetSignedPkcs7's text is valid until the next
 * signing call begins. GetErrorMsg and the eight GetSignerCert queries share one buffer: a text from any of the nine is
 * valid until the next call of any of the nine.
 *
 * Threads: there is one signer for the whole process and no lock; call from one thread at a time.
 *
 * Errors: ZEPASignInitial and the signing calls set the error code, 0 for success; the reading functions leave it
 * alone. Common codes: 1002 file unreadable, 1102 PFX file unreadable, 1202 property file unreadable, 5002 out of
 * memory or beyond the 32-bit length, 5005 wrong argument or property, 5010 certificate not acceptable, 5061 signing
 * failed, 5204 no PFX loaded, 5208 wrong password, 5901 text conversion failed. The log file tells the rest.
 *
 * The names are exported plainly, as declared here, and once more as a C++ compiler decorates them.
 */
#ifndef ZEPASIGNDLL_H_
#define ZEPASIGNDLL_H_

#include <stdbool.h>

#if defined(_WIN32) && !defined(ZEPASIGN_BUILDING)
#define ZEPASIGN_API __declspec(dllimport)
#elif defined(_WIN32)
#define ZEPASIGN_API /* the .def file exports */
#else
#define ZEPASIGN_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* GetPkiVersion: "2.0.1.2", a static text. */
ZEPASIGN_API char* GetPkiVersion(void);

/* GetErrorCode: the code that the last ZEPASignInitial or signing call left; 0 before the first. */
ZEPASIGN_API int GetErrorCode(void);

/* GetErrorMsg: the Big5 message of GetErrorCode, the code in parentheses at its end. Never NULL. */
ZEPASIGN_API char* GetErrorMsg(void);

/*
 * MakeZEPASignPasswd: encrypts `passwd` into the text that ZEPASignInitial takes as encedPfxPasswd. The signer and
 * its error code are left alone.
 *   outBuf        receives the text although it is declared const; NULL asks for the length alone
 *   outLen        in: capacity of outBuf in bytes; out: length of the text in bytes. The text is NUL-terminated only
 *                 when the capacity exceeds its length.
 *   propertyFile  names PSWD.license and PSWD.authKey
 *   passwd        the plain PFX password, 1 to 511 bytes
 * Returns 0, or 1202 (no file name), 5002 (out of memory), 5003 (outBuf too small, outLen tells the length), 5005 (key
 * or argument missing, outLen NULL), 5063 (password too long), 5208 (PSWD.license is no key). A property file that
 * cannot be loaded gives 0 with outBuf and outLen untouched.
 */
ZEPASIGN_API int MakeZEPASignPasswd(const char* outBuf, int* outLen, const char* propertyFile, const char* passwd);

/*
 * ZEPASignInitial: configures the signer from a property file.
 *   propertyFile    path of the file of key = value lines
 *   encedPfxPasswd  the text of MakeZEPASignPasswd; used only when the file has PSWD.authKey, else it may be NULL
 * Returns true when the error code is 0. May be called again: settings are overwritten as they are read, a failing
 * call keeps the credential loaded before, and the CA chains, once loaded, stay.
 */
ZEPASIGN_API bool ZEPASignInitial(const char* propertyFile, const char* encedPfxPasswd);

/*
 * SignPkcs7: signs a Big5 text after converting it to `encoding`, "BIG5" or "UTF-16LE" in any letter case (no
 * byte-order mark). Returns the error code; without a loaded PFX that is 5010 here, where the other two give 5204.
 */
ZEPASIGN_API int SignPkcs7(const char* text, const char* encoding);

/* SignPkcs7Bin: signs `dataLen` bytes (at least 1), which are read and never written. Returns the error code. */
ZEPASIGN_API int SignPkcs7Bin(unsigned char* data, int dataLen);

/* SignPkcs7File: signs the content of an ordinary file of 1 to 2147483647 bytes. Returns the error code. */
ZEPASIGN_API int SignPkcs7File(const char* fileName);

/*
 * GetSignedPkcs7: the last signature, Base64 (RFC 4648) of the DER without line breaks; NULL when the last signing call
 * failed or there was none.
 */
ZEPASIGN_API char* GetSignedPkcs7(void);

/*
 * The certificate of the last successful signature; NULL before the first one.
 *   CertB64        its DER in Base64
 *   SubjectCN      always the empty text with OpenSSL 3; SubjectCN does not hold the name, GetSignerCertSubject does
 *   Subject/Issuer distinguished name as /C=.../O=.../CN=..., at most 511 bytes
 *   NotBefore/NotAfter  14 digits YYYYMMDDhhmmss in UTC+8
 *   Serial         hexadecimal, upper case
 *   Finger         SHA-1 of the DER, 40 hexadecimal digits, upper case
 */
ZEPASIGN_API char* GetSignerCertB64(void);
ZEPASIGN_API char* GetSignerCertSubjectCN(void);
ZEPASIGN_API char* GetSignerCertSubject(void);
ZEPASIGN_API char* GetSignerCertIssuer(void);
ZEPASIGN_API char* GetSignerCertNotBefore(void);
ZEPASIGN_API char* GetSignerCertNotAfter(void);
ZEPASIGN_API char* GetSignerCertSerial(void);
ZEPASIGN_API char* GetSignerCertFinger(void);

#ifdef __cplusplus
}
#endif

#endif /* ZEPASIGNDLL_H_ */
