#include "signer.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ZEPASignDLL.h"
#include "platform.h"

enum { kPropertyFileUnreadable = 1202, kFileUnreadable = 1002, kOutOfMemory = 5002, kConversionFailed = 5901 };
enum { kMaxPath = 4096, kMaxEnced = 1024 }; /* an encrypted password has at most 704 characters */

const char* signerVersion(void) { return GetPkiVersion(); }

void signerFree(SignerResult* result) {
  SignerCertificate* certificate = &result->certificate;
  char* texts[] = {result->text,           certificate->base64, certificate->subjectCN,
                   certificate->subject,   certificate->issuer, certificate->notBefore,
                   certificate->notAfter,  certificate->serial, certificate->fingerprint,
                   certificate->commonName};
  for (size_t i = 0; i < sizeof texts / sizeof *texts; ++i) free(texts[i]);
  memset(result, 0, sizeof *result);
}

static SignerResult failure(const char* function, int code, const char* message) {
  SignerResult result = {.code = code, .function = function};
  snprintf(result.message, sizeof result.message, "%s", message);
  return result;
}

/* libraryFailure: what the library says of its last call. Needs the lock, as all that reads a result does. */
static SignerResult libraryFailure(const char* function) {
  char* message = big5ToUtf8(GetErrorMsg());
  SignerResult result = failure(function, GetErrorCode(), message ? message : "");
  free(message);
  return result;
}

/* copyText: a text of the library is valid until the next call only. Clears *complete when memory is short. */
static char* copyText(const char* text, int* complete) {
  size_t size = strlen(text) + 1;
  char* copy = malloc(size);
  if (copy) return memcpy(copy, text, size);
  *complete = 0;
  return NULL;
}

static SignerResult signatureResult(void) {
  int complete = 1;
  SignerResult result = {.text = copyText(GetSignedPkcs7(), &complete)};
  SignerCertificate* certificate = &result.certificate;
  certificate->base64 = copyText(GetSignerCertB64(), &complete);
  certificate->subjectCN = copyText(GetSignerCertSubjectCN(), &complete);
  certificate->subject = copyText(GetSignerCertSubject(), &complete);
  certificate->issuer = copyText(GetSignerCertIssuer(), &complete);
  certificate->notBefore = copyText(GetSignerCertNotBefore(), &complete);
  certificate->notAfter = copyText(GetSignerCertNotAfter(), &complete);
  certificate->serial = copyText(GetSignerCertSerial(), &complete);
  certificate->fingerprint = copyText(GetSignerCertFinger(), &complete);
  certificate->commonName = certificate->base64 ? commonNameOf(certificate->base64) : NULL;
  if (complete && certificate->commonName) return result;
  signerFree(&result);
  return failure("the signer's certificate", kOutOfMemory, "out of memory");
}

/* readEnced: the first line of the file; an empty text when it cannot be read. */
static void readEnced(const char* fileName, char* line) {
  FILE* file = fopen(fileName, "r");
  line[0] = '\0';
  if (!file) return;
  if (!fgets(line, kMaxEnced, file)) line[0] = '\0';
  line[strcspn(line, "\r\n")] = '\0';
  fclose(file);
}

SignerResult signerInitialize(const char* propertyFile, const char* encedFile) {
  char enced[kMaxEnced] = "", credential[kMaxPath];
  const char* directory = getenv("CREDENTIALS_DIRECTORY");
  if (encedFile) {
    readEnced(encedFile, enced);
    if (!enced[0]) return failure(encedFile, kFileUnreadable, "no encrypted password in this file");
  } else if (directory) {
    snprintf(credential, sizeof credential, "%s/enced", directory);
    readEnced(credential, enced);
  }
  lockSigner();
  SignerResult result = {0};
  if (!ZEPASignInitial(propertyFile, enced[0] ? enced : NULL)) result = libraryFailure("ZEPASignInitial");
  unlockSigner();
  return result;
}

SignerResult signerSignText(const char* utf8, const char* encoding) {
  char* big5 = utf8ToBig5(utf8);
  if (!big5) return failure("SignPkcs7", kConversionFailed, "Big5 lacks a character of the text");
  lockSigner();
  SignerResult result = SignPkcs7(big5, encoding) == 0 ? signatureResult() : libraryFailure("SignPkcs7");
  unlockSigner();
  free(big5);
  return result;
}

SignerResult signerSignBytes(const void* data, size_t length) {
  if (length > INT_MAX) return failure("SignPkcs7Bin", kOutOfMemory, "more than 2147483647 bytes");
  lockSigner();
  int code = SignPkcs7Bin((unsigned char*)data, (int)length); /* reads them only */
  SignerResult result = code == 0 ? signatureResult() : libraryFailure("SignPkcs7Bin");
  unlockSigner();
  return result;
}

SignerResult signerSignFile(const char* fileName) {
  lockSigner();
  SignerResult result = SignPkcs7File(fileName) == 0 ? signatureResult() : libraryFailure("SignPkcs7File");
  unlockSigner();
  return result;
}

SignerResult signerEncryptPassword(const char* propertyFile, const char* password) {
  char enced[kMaxEnced];
  int length = sizeof enced; /* more than the text takes, so it is NUL-terminated */
  enced[0] = '\0';
  lockSigner();
  int code = MakeZEPASignPasswd(enced, &length, propertyFile, password);
  unlockSigner();
  if (code == 0 && !enced[0]) code = kPropertyFileUnreadable; /* the library returns 0 here */
  if (code != 0) return failure("MakeZEPASignPasswd", code, "see the log");
  int complete = 1;
  SignerResult result = {.text = copyText(enced, &complete)};
  return complete ? result : failure("MakeZEPASignPasswd", kOutOfMemory, "out of memory");
}
