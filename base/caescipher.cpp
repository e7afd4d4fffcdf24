#include "base/caescipher.h"

#include <openssl/evp.h>

#include <cstring>
#include <memory>

namespace zepasign {
namespace {

struct FreeContext {
  void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};

// selectCipher: the cipher families 0 CBC, 1 ECB and 2 CFB with keys of 128, 192 and 256 bits; null for anything else.
const EVP_CIPHER* selectCipher(int mode, int keyBits) {
  using Family = const EVP_CIPHER* (*)();
  static constexpr Family kFamilies[3][3] = {{EVP_aes_128_cbc, EVP_aes_192_cbc, EVP_aes_256_cbc},
                                             {EVP_aes_128_ecb, EVP_aes_192_ecb, EVP_aes_256_ecb},
                                             {EVP_aes_128_cfb128, EVP_aes_192_cfb128, EVP_aes_256_cfb128}};
  const int size = keyBits / 64 - 2;
  if (mode < 0 || mode > 2 || size < 0 || size > 2 || keyBits % 64 != 0) return nullptr;
  return kFamilies[mode][size]();
}

}  // namespace

cAesCipher::cAesCipher() {
  key_.markSecret();
  iv_.markSecret();
}

bool cAesCipher::setKey(const unsigned char* key, const unsigned char* iv) {
  keyBits_ = -1;
  mode_ = -1;
  key_.clear();
  iv_.clear();
  if (key == nullptr) return false;
  key_.set(key, kKeySize);
  iv_.allocate(kKeySize);
  if (iv != nullptr) std::memcpy(iv_.data(), iv, kKeySize);
  keyBits_ = 8 * kKeySize;
  mode_ = 0;
  return true;
}

int cAesCipher::encrypt(const unsigned char* in, int length, unsigned char* out, int* capacity) const {
  return run(Direction::kEncrypt, in, length, out, capacity);
}

int cAesCipher::decrypt(const unsigned char* in, int length, unsigned char* out, int* capacity) const {
  return run(Direction::kDecrypt, in, length, out, capacity);
}

int cAesCipher::run(Direction direction, const unsigned char* in, int length, unsigned char* out, int* capacity) const {
  if (key_.data() == nullptr || iv_.data() == nullptr || in == nullptr || length <= 0) return -1;
  cBytes work;
  work.markSecret();
  if (length > kMaxLength - keyBits_) return -1;
  work.allocate(keyBits_ + length);
  const int total = transform(direction, in, length, work.data());
  if (total < 0 || out == nullptr || capacity == nullptr || *capacity < total) return total;
  std::memcpy(out, work.data(), static_cast<std::size_t>(total));
  *capacity = total;
  return 0;
}

int cAesCipher::transform(Direction direction, const unsigned char* in, int length, unsigned char* work) const {
  const std::unique_ptr<EVP_CIPHER_CTX, FreeContext> context(EVP_CIPHER_CTX_new());
  const EVP_CIPHER* cipher = selectCipher(mode_, keyBits_);
  int updated = 0;
  int finished = 0;
  if (!context || cipher == nullptr ||
      EVP_CipherInit_ex(context.get(), cipher, nullptr, key_.data(), iv_.data(), static_cast<int>(direction)) != 1 ||
      EVP_CipherUpdate(context.get(), work, &updated, in, length) != 1 ||
      EVP_CipherFinal_ex(context.get(), work + updated, &finished) != 1) {
    return -1;
  }
  return updated + finished;
}

}  // namespace zepasign
