/* What the C and C++ modules need of the system: platform_posix.c (iconv, OpenSSL) or platform_windows.c. */
#ifndef PLATFORM_H_
#define PLATFORM_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Each returned text is the caller's, to be freed with free(); NULL when memory is short or the text has no such form.
 */

/* big5ToUtf8: a message of the library for people. */
char* big5ToUtf8(const char* big5);

/* utf8ToBig5: NULL, too, for a character that Big5 lacks. */
char* utf8ToBig5(const char* utf8);

/* commonNameOf: the subject's name in UTF-8, of a certificate in Base64. */
char* commonNameOf(const char* base64);

/* One lock for the whole process. */
void lockSigner(void);
void unlockSigner(void);

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_H_ */
