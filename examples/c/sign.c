/*
 * Signs one file from C:  sign PROPERTY-FILE FILE > signature.b64
 *
 *   cc -I../../api sign.c -o sign -L../../build/release/api -lZEPASignDLL
 *
 * Prints the Base64 text of the signature, or the error code and the message; messages are Big5, so on a UTF-8
 * terminal read them with  2>&1 | iconv -f BIG5.
 */
#include <stdio.h>

#include "ZEPASignDLL.h"

static int fail(const char* step) {
  fprintf(stderr, "%s failed with %d: %s\n", step, GetErrorCode(), GetErrorMsg());
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

  /* The text belongs to the library: copy it if it shall outlive the next signing call. */
  puts(GetSignedPkcs7());
  fprintf(stderr, "Signed by %s\n", GetSignerCertSubject());
  return 0;
}
