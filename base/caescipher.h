// cAesCipher: AES-256 (FIPS 197) in CBC mode through libcrypto's cipher interface, for the short texts in which a PFX
// password is kept.
//
// CBC does not authenticate: a changed text, or about one wrong key in 256, decrypts without an error into wrong bytes.
// The wrong password is noticed when the PFX is opened with it.
//
// Key, initialization vector and working memory are wiped. setKey, encrypt and decrypt throw std::bad_alloc. A failure
// inside libcrypto leaves its reason in the thread's error queue. One thread at a time for each object.
#ifndef ZEPASIGN_BASE_CAESCIPHER_H_
#define ZEPASIGN_BASE_CAESCIPHER_H_

#include "base/cbytes.h"

namespace zepasign {

class cAesCipher {
 public:
  // kKeySize: bytes of a key.
  static constexpr int kKeySize = 32;

  cAesCipher();
  virtual ~cAesCipher() = default;
  cAesCipher(const cAesCipher&) = delete;
  cAesCipher& operator=(const cAesCipher&) = delete;

  // setKey: copies a 256-bit key and the initialization vector, 32 bytes each, of which CBC uses the vector's first 16;
  // a null `iv` is all zero. Replaces an earlier key. With a null key: false, and every call fails until a key is set.
  [[nodiscard]] bool setKey(const unsigned char* key, const unsigned char* iv);

  // encrypt, decrypt: `length` bytes from `in`, padded as PKCS#7 pads blocks. When `out` is given and `*capacity`
  // (bytes) suffices, the result is copied, `*capacity` becomes its length and 0 is returned. Otherwise nothing is
  // copied and the length that the result would have is returned: too small a buffer is a question, not an error. -1 on
  // failure: no key, no input, or (decrypt) a wrong key or damaged text. `out` may be `in`. Padding adds 1 to 16 bytes
  // when encrypting; `length` must be a multiple of 16 when decrypting.
  [[nodiscard]] int encrypt(const unsigned char* in, int length, unsigned char* out, int* capacity) const;
  [[nodiscard]] int decrypt(const unsigned char* in, int length, unsigned char* out, int* capacity) const;

 private:
  enum class Direction { kDecrypt = 0, kEncrypt = 1 };

  // run: the contract of encrypt and decrypt. transform: the length produced, -1 on failure. REQUIRES: a key is
  // set, and `work` has room for `length` bytes and one block.
  [[nodiscard]] int run(Direction direction, const unsigned char* in, int length, unsigned char* out,
                        int* capacity) const;
  [[nodiscard]] int transform(Direction direction, const unsigned char* in, int length, unsigned char* work) const;

  cBytes key_;  // empty until one is set
  cBytes iv_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CAESCIPHER_H_
