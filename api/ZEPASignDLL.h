/*
 * ZEPASignDLL: PKCS#7 signed data (RFC 2315) made with the private key and certificate of a PFX (PKCS#12) file.
 *
 *   if (!ZEPASignInitial("app.properties", NULL)) ...       once; the property file holds all settings
 *   if (SignPkcs7Bin(data, dataLen) == 0)
 *     puts(GetSignedPkcs7());                               Base64 of the DER, on one line
 *   else
 *     puts(GetErrorMsg());                                  Big5, see below
 *
 * Texts are NUL-terminated byte strings. Paths are passed to the system as they are, in its encoding of file names.
 * Messages, and the text that SignPkcs7 signs, are Traditional Chinese in Big5 (code page 950). A host that works with
 * UTF-8 converts messages before it shows them, and must convert a text to Big5 before SignPkcs7: some UTF-8 bytes are
 * valid Big5 for other characters, and then a wrong text is signed with code 0. To sign UTF-8 as it is, pass its bytes
 * to SignPkcs7Bin.
 *
 * Ownership: every returned text belongs to the library; do not free it. GetSignedPkcs7's text is valid until the next
 * signing call begins. GetErrorMsg and the eight GetSignerCert queries share one buffer: a text from any of the nine is
 * valid until the next call of any of the nine.
 *
 * Threads: there is one signer for the whole process and no lock; call from one thread at a time. Unloading the library
 * and ending the process count as calls: no other thread may be inside the library then.
 *
 * Errors: ZEPASignInitial and the signing calls set the error code, 0 for success; the reading functions leave it
 * alone. Common codes: 1002 file unreadable, 1102 PFX file unreadable, 1202 property file unreadable, 5002 out of
 * memory or beyond the 32-bit length, 5005 wrong argument or property, 5010 certificate not acceptable, 5061 signing
 * failed, 5204 no PFX loaded, 5208 wrong password, 5901 text conversion failed. The log file has the details.
 *
 * Each function is exported under its name as declared here and, for hosts built against the C++ names, once more under
 * the name that a C++ compiler gives it.
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
 * byte-order mark). The text must really be Big5, see above. Returns the error code; without a loaded PFX that is 5010
 * here, where the other two give 5204.
 */
ZEPASIGN_API int SignPkcs7(const char* text, const char* encoding);

/* SignPkcs7Bin: signs `dataLen` bytes (at least 1), which are read and never written. Returns the error code. */
ZEPASIGN_API int SignPkcs7Bin(unsigned char* data, int dataLen);

/* SignPkcs7File: signs the content of a regular file of 1 to 2147483647 bytes. Returns the error code. */
ZEPASIGN_API int SignPkcs7File(const char* fileName);

/*
 * GetSignedPkcs7: the last signature, Base64 (RFC 4648) of the DER without line breaks; NULL when the last signing call
 * failed or there was none.
 */
ZEPASIGN_API char* GetSignedPkcs7(void);

/*
 * The certificate of the last successful signature; NULL before the first one.
 *   CertB64        its DER in Base64
 *   SubjectCN      always the empty text with OpenSSL 3; the name is in Subject
 *   Subject/Issuer distinguished name as /C=.../O=.../CN=..., at most 511 bytes. Bytes beyond ASCII are written in
 *                  hexadecimal (backslash, x, two digits): to show a Chinese name, decode CertB64 and read the subject
 *                  with the certificate class of the host's own platform
 *   NotBefore/NotAfter  14 digits YYYYMMDDhhmmss in UTC+8 (15 for the last hours of the year 9999)
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
