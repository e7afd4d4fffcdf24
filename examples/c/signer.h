/*
 * ZEPASignDLL for C programs: signs texts, bytes and files, from any thread.
 *
 *   SignerResult result = signerInitialize("app.properties", NULL);
 *   if (result.code == 0) result = signerSignFile("document.pdf");
 *   if (result.code == 0) puts(result.text);
 *   else fprintf(stderr, "%s failed with %d: %s\n", result.function, result.code, result.message);
 *   signerFree(&result);
 *
 * The library holds one signer for the whole process and has no lock. This module holds a lock of its own while it
 * signs and reads the result, and copies each text before it releases the lock. Call the library through this module
 * only. Texts are UTF-8 here; file names are passed on as they are.
 */
#ifndef SIGNER_H_
#define SIGNER_H_

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The signer's certificate. Dates are YYYYMMDDhhmmss in UTC+8; in subject and issuer, bytes beyond ASCII read \xE9;
 * subjectCN is always empty with OpenSSL 3, commonName is the name with its Chinese characters.
 */
typedef struct SignerCertificate {
  char* base64;
  char* subjectCN;
  char* subject;
  char* issuer;
  char* notBefore;
  char* notAfter;
  char* serial;
  char* fingerprint;
  char* commonName;
} SignerCertificate;

/* What a call gave. With code 0 the texts are set, as far as the call has any; free them with signerFree. With another
 * code, function and message tell what failed (the log tells the cause), and there is nothing to free. */
typedef struct SignerResult {
  int code;
  const char* function;
  char message[256];
  char* text; /* the signature, Base64 of the DER; of signerEncryptPassword the encrypted password */
  SignerCertificate certificate;
} SignerResult;

/* signerVersion: the library's version, a static text. */
const char* signerVersion(void);

/*
 * signerInitialize: loads the settings and the PFX. With PSWD.authKey in the property file, the encrypted password
 * comes from encedFile or, when that is NULL, from the service manager's credential "enced".
 */
SignerResult signerInitialize(const char* propertyFile, const char* encedFile);

/*
 * signerSignText: signs a UTF-8 text in the encoding "BIG5" or "UTF-16LE". Code 5901 for a character that Big5 lacks;
 * such a text can be signed as bytes.
 */
SignerResult signerSignText(const char* utf8, const char* encoding);

/* signerSignBytes: signs 1 to 2147483647 bytes. */
SignerResult signerSignBytes(const void* data, size_t length);

/* signerSignFile: signs the content of a file. */
SignerResult signerSignFile(const char* fileName);

/*
 * signerEncryptPassword: the encrypted form of the PFX password, for the file that signerInitialize reads. In a process
 * that never initializes, the library's log lines go to the standard output when the process ends.
 */
SignerResult signerEncryptPassword(const char* propertyFile, const char* password);

/* signerFree: frees the texts of a result. */
void signerFree(SignerResult* result);

#ifdef __cplusplus
}
#endif

#endif /* SIGNER_H_ */
