#include "platform.h"

#include <iconv.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

void lockSigner(void) { pthread_mutex_lock(&lock); }
void unlockSigner(void) { pthread_mutex_unlock(&lock); }

/* convert: a character has at most twice as many bytes in the one encoding as in the other. */
static char* convert(const char* to, const char* from, const char* text) {
  size_t inLeft = strlen(text), outLeft = 2 * inLeft;
  char *in = (char*)text, *converted = calloc(outLeft + 1, 1), *out = converted;
  iconv_t converter = iconv_open(to, from);
  size_t failed = (size_t)-1;
  if (converted && converter != (iconv_t)-1) failed = iconv(converter, &in, &inLeft, &out, &outLeft);
  if (converter != (iconv_t)-1) iconv_close(converter);
  if (failed != (size_t)-1) return converted;
  free(converted);
  return NULL;
}

char* big5ToUtf8(const char* big5) { return convert("UTF-8", "BIG5", big5); }
char* utf8ToBig5(const char* utf8) { return convert("BIG5", "UTF-8", utf8); }

static X509* decodeCertificate(const char* base64) {
  size_t length = strlen(base64), padding = strcspn(base64, "=");
  unsigned char* der = malloc(length + 1);
  const unsigned char* next = der;
  int size = der ? EVP_DecodeBlock(der, (const unsigned char*)base64, (int)length) : -1; /* "=" count as zero bytes */
  X509* certificate = size < 0 ? NULL : d2i_X509(NULL, &next, size - (int)(length - padding));
  free(der);
  return certificate;
}

char* commonNameOf(const char* base64) {
  X509* certificate = decodeCertificate(base64);
  const X509_NAME* subject = certificate ? X509_get_subject_name(certificate) : NULL;
  int index = subject ? X509_NAME_get_index_by_NID(subject, NID_commonName, -1) : -1;
  unsigned char* utf8 = NULL;
  if (index >= 0) ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
  char* name = strdup(utf8 ? (const char*)utf8 : "");
  OPENSSL_free(utf8);
  X509_free(certificate);
  return name;
}
