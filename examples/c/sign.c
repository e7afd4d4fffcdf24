/*
 * Signs one file from C:  sign PROPERTY-FILE FILE
 *
 *   cc sign.c -o sign $(pkg-config --cflags --libs ZEPASignDLL)
 *
 * Prints the signature in Base64 and the signer's certificate, or the function that failed, its code and its message.
 */
#include <stdio.h>
#include <string.h>

#include "ZEPASignDLL.h"

/* readable: a text of the library, which is Big5, for this terminal; valid until the next call. */
#ifdef _WIN32
static const char* readable(char* text) { return text; } /* code page 950 is Big5 */
#else
#include <iconv.h>
static const char* readable(char* text) {
  static char utf8[2048];
  char* out = utf8;
  size_t textLeft = strlen(text), outLeft = sizeof utf8 - 1;
  iconv_t converter = iconv_open("UTF-8", "BIG5");
  if (converter == (iconv_t)-1) return text;
  iconv(converter, &text, &textLeft, &out, &outLeft);
  iconv_close(converter);
  *out = '\0';
  return utf8;
}
#endif

static int fail(const char* function) {
  fprintf(stderr, "%s failed with %d: %s\n", function, GetErrorCode(), readable(GetErrorMsg()));
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s PROPERTY-FILE FILE\n", argv[0]);
    return 2;
  }
  /* The second argument is needed only when the property file has a PSWD.authKey. */
  if (!ZEPASignInitial(argv[1], NULL)) return fail("ZEPASignInitial");
  if (SignPkcs7File(argv[2]) != 0) return fail("SignPkcs7File");

  /* Every text belongs to the library: copy what shall outlive the next call. */
  puts(GetSignedPkcs7());
  printf("subject=%s\n", readable(GetSignerCertSubject()));
  printf("issuer=%s\n", readable(GetSignerCertIssuer()));
  printf("serial=%s\n", readable(GetSignerCertSerial()));
  printf("notBefore=%s\n", readable(GetSignerCertNotBefore()));
  printf("notAfter=%s\n", readable(GetSignerCertNotAfter()));
  printf("fingerprint=%s\n", readable(GetSignerCertFinger()));
  return 0;
}
