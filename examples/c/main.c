/*
 * Signs a file, and a text when one is given:  sign PROPERTY-FILE FILE [TEXT]
 *
 * sign --encrypt PROPERTY-FILE FILE reads the PFX password from the standard input and writes its encrypted form to
 * FILE.
 */
#include <stdio.h>
#include <string.h>

#include "signer.h"

/* succeeded: prints the result's text, or what failed. */
static int succeeded(const SignerResult* result) {
  if (result->code == 0 && result->text) puts(result->text);
  if (result->code != 0) fprintf(stderr, "%s failed with %d: %s\n", result->function, result->code, result->message);
  return result->code == 0;
}

static int printAndFree(SignerResult result) {
  int good = succeeded(&result);
  signerFree(&result);
  return good;
}

static int encrypt(const char* propertyFile, const char* fileName) {
  char password[512] = "";
  if (!fgets(password, sizeof password, stdin)) return 0;
  password[strcspn(password, "\r\n")] = '\0';
  SignerResult result = signerEncryptPassword(propertyFile, password);
  if (result.code != 0) return printAndFree(result);
  FILE* file = fopen(fileName, "w");
  int written = file && fputs(result.text, file) >= 0;
  if (file && fclose(file) != 0) written = 0;
  signerFree(&result);
  return written;
}

static int signFile(const char* fileName, const char* text) {
  SignerResult result = signerSignFile(fileName);
  const SignerCertificate* signer = &result.certificate;
  int good = succeeded(&result);
  if (good && text) good = printAndFree(signerSignText(text, "BIG5")) && printAndFree(signerSignText(text, "UTF-16LE"));
  if (good) {
    printf("subject=%s\nissuer=%s\nserial=%s\n", signer->subject, signer->issuer, signer->serial);
    printf("not_before=%s\nnot_after=%s\n", signer->notBefore, signer->notAfter);
    printf("fingerprint=%s\nname=%s\nversion=%s\n", signer->fingerprint, signer->commonName, signerVersion());
  }
  signerFree(&result);
  return good;
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: %s PROPERTY-FILE FILE [TEXT]\n", argv[0]);
    return 1;
  }
  if (argc > 3 && strcmp(argv[1], "--encrypt") == 0) return encrypt(argv[2], argv[3]) ? 0 : 1;
  return printAndFree(signerInitialize(argv[1], NULL)) && signFile(argv[2], argc > 3 ? argv[3] : NULL) ? 0 : 1;
}
