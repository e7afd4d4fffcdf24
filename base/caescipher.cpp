#include "base/caescipher.h"

#include <openssl/evp.h>

#include <cstring>
#include <memory>

namespace zepasign {
namespace {

constexpr int kBlockSize = 16;

struct FreeContext {
  void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};

}  // namespace

cAesCipher::cAesCipher() {
  key_.markSecret();
  iv_.markSecret();
}

bool cAesCipher::setKey(const unsigned char* key, const unsigned char* iv) {
  key_.clear();
  iv_.clear();
  if (key == nullptr) return false;
  iv_.allocate(kKeySize);
  if (iv != nullptr) std::memcpy(iv_.data(), iv, kKeySize);
  key_.set(key, kKeySize);  // last: `run` asks only whether there is a key
  return true;
}

int cAesCipher::encrypt(const unsigned char* in, int length, unsigned char* out, int* capacity) const {
  return run(Direction::kEncrypt, in, length, out, capacity);
}

int cAesCipher::decrypt(const unsigned char* in, int length, unsigned char* out, int* capacity) const {
  return run(Direction::kDecrypt, in, length, out, capacity);
}

int cAesCipher::run(Direction direction, const unsigned char* in, int length, unsigned char* out, int* capacity) const {
  if (key_.length() != kKeySize || in == nullptr || length <= 0 || length > kMaxLength - kBlockSize) return -1;
  cBytes work;
  work.markSecret();
  work.allocate(length + kBlockSize);
  const int total = transform(direction, in, length, work.data());
  if (total < 0 || out == nullptr || capacity == nullptr || *capacity < total) return total;
  std::memcpy(out, work.data(), static_cast<std::size_t>(total));
  *capacity = total;
  return 0;
}

int cAesCipher::transform(Direction direction, const unsigned char* in, int length, unsigned char* work) const {
  const std::unique_ptr<EVP_CIPHER_CTX, FreeContext> context(EVP_CIPHER_CTX_new());
  int updated = 0;
  int finished = 0;
  if (!context ||
      EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key_.data(), iv_.data(),
                        static_cast<int>(direction)) != 1 ||
      EVP_CipherUpdate(context.get(), work, &updated, in, length) != 1 ||
      EVP_CipherFinal_ex(context.get(), work + updated, &finished) != 1) {
    return -1;
  }
  return updated + finished;
}

}  // namespace zepasign
