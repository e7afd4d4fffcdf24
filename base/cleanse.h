// Wiping of secrets: passwords, keys and decrypted areas in our own memory do not outlive their use. What libcrypto
// copies (the password during the check of a PFX) it frees by its own rules, partly without wiping.
#ifndef ZEPASIGN_BASE_CLEANSE_H_
#define ZEPASIGN_BASE_CLEANSE_H_

#include <array>
#include <cstddef>
#include <string>

namespace zepasign {

// cleanse: overwrites `size` bytes in a way that no optimiser removes (OPENSSL_cleanse).
void cleanse(void* data, std::size_t size) noexcept;

// CleanseOnExit: wipes the text, its spare capacity included, at the end of the scope. The text must not grow in
// between: a block that it left behind would keep its bytes.
class CleanseOnExit final {
 public:
  explicit CleanseOnExit(std::string& text) noexcept : text_(text) {}
  ~CleanseOnExit() { cleanse(text_.data(), text_.capacity()); }
  CleanseOnExit(const CleanseOnExit&) = delete;
  CleanseOnExit& operator=(const CleanseOnExit&) = delete;

 private:
  std::string& text_;
};

// SecretArea: a zeroed block of fixed size, wiped at the end of the scope.
template <std::size_t Size>
class SecretArea final {
 public:
  SecretArea() = default;
  ~SecretArea() { cleanse(bytes_.data(), Size); }
  SecretArea(const SecretArea&) = delete;
  SecretArea& operator=(const SecretArea&) = delete;

  [[nodiscard]] unsigned char* data() noexcept { return bytes_.data(); }
  [[nodiscard]] static constexpr std::size_t size() noexcept { return Size; }

 private:
  std::array<unsigned char, Size> bytes_{};
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CLEANSE_H_
