#include "platform.h"

#include <windows.h>

#include <stdlib.h>
#include <wincrypt.h>

#define BIG5 950

static SRWLOCK lock = SRWLOCK_INIT;

void lockSigner(void) { AcquireSRWLockExclusive(&lock); }
void unlockSigner(void) { ReleaseSRWLockExclusive(&lock); }

static wchar_t* toWide(UINT codePage, const char* text) {
  int size = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text, -1, NULL, 0);
  wchar_t* wide = size > 0 ? calloc((size_t)size, sizeof *wide) : NULL;
  if (wide) MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text, -1, wide, size);
  return wide;
}

static char* toUtf8(const wchar_t* wide) {
  int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, NULL, 0, NULL, NULL);
  char* utf8 = size > 0 ? calloc((size_t)size, 1) : NULL;
  if (utf8) WideCharToMultiByte(CP_UTF8, 0, wide, -1, utf8, size, NULL, NULL);
  return utf8;
}

char* big5ToUtf8(const char* big5) {
  wchar_t* wide = toWide(BIG5, big5);
  char* utf8 = wide ? toUtf8(wide) : NULL;
  free(wide);
  return utf8;
}

char* utf8ToBig5(const char* utf8) {
  wchar_t* wide = toWide(CP_UTF8, utf8);
  BOOL lacking = FALSE; /* without the flag a similar character would be taken */
  int size = wide ? WideCharToMultiByte(BIG5, WC_NO_BEST_FIT_CHARS, wide, -1, NULL, 0, NULL, &lacking) : 0;
  char* big5 = size > 0 && !lacking ? calloc((size_t)size, 1) : NULL;
  if (big5) WideCharToMultiByte(BIG5, WC_NO_BEST_FIT_CHARS, wide, -1, big5, size, NULL, NULL);
  free(wide);
  return big5;
}

static PCCERT_CONTEXT decodeCertificate(const char* base64) {
  DWORD size = 0;
  CryptStringToBinaryA(base64, 0, CRYPT_STRING_BASE64, NULL, &size, NULL, NULL);
  BYTE* der = malloc(size);
  PCCERT_CONTEXT certificate = NULL;
  if (der && CryptStringToBinaryA(base64, 0, CRYPT_STRING_BASE64, der, &size, NULL, NULL))
    certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der, size); /* copies */
  free(der);
  return certificate;
}

char* commonNameOf(const char* base64) {
  wchar_t name[512] = L"";
  PCCERT_CONTEXT certificate = decodeCertificate(base64);
  if (certificate) CertGetNameStringW(certificate, CERT_NAME_ATTR_TYPE, 0, szOID_COMMON_NAME, name, 512);
  CertFreeCertificateContext(certificate);
  return toUtf8(name);
}
