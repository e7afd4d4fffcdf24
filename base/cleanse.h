// Wiping of secrets: passwords, keys and decrypted areas in our own memory do not outlive their use. What libcrypto
// copies (the password during the check of a PFX) it frees by its own rules, partly without wiping.
//
// Which tool for which secret: cBuffer::markSecret for a buffer of ours, CleanseOnExit for a std::string, SecretArea
// for a block whose size is known when compiling, cleanse for everything else. Nothing here allocates or fails.
//
// One thread at a time for each object.
#ifndef ZEPASIGN_BASE_CLEANSE_H_
#define ZEPASIGN_BASE_CLEANSE_H_

#include <array>
#include <cstddef>
#include <string>

namespace zepasign {

// cleanse: overwrites `size` bytes in a way that no optimiser removes (OPENSSL_cleanse); it frees nothing. REQUIRES:
// `data` has `size` writable bytes.
void cleanse(void* data, std::size_t size) noexcept;

// CleanseOnExit: wipes the text, its spare capacity included, at the end of the scope. The text must not grow in
// between: a block that it left behind would keep its bytes. The text is borrowed and must outlive the object, so
// declare the object after the text. Copies of the text need their own.
class CleanseOnExit final {
 public:
  // REQUIRES: the text is not moved from and keeps its block until the end of the scope.
  explicit CleanseOnExit(std::string& text) noexcept : text_(text) {}
  ~CleanseOnExit() { cleanse(text_.data(), text_.capacity()); }
  CleanseOnExit(const CleanseOnExit&) = delete;
  CleanseOnExit& operator=(const CleanseOnExit&) = delete;

 private:
  std::string& text_;
};

// SecretArea: a zeroed block of `Size` bytes inside the object, wiped at the end of the scope. A local one lies on the
// stack, where nothing else would erase the bytes after the function returns.
template <std::size_t Size>
class SecretArea final {
 public:
  SecretArea() = default;
  // The wipe covers all of the area, however much of it was filled.
  ~SecretArea() { cleanse(bytes_.data(), Size); }
  SecretArea(const SecretArea&) = delete;
  SecretArea& operator=(const SecretArea&) = delete;

  // data: borrowed, valid as long as the object; the caller fills and reads it, within size() bytes.
  [[nodiscard]] unsigned char* data() noexcept { return bytes_.data(); }
  [[nodiscard]] static constexpr std::size_t size() noexcept { return Size; }

 private:
  std::array<unsigned char, Size> bytes_{};
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CLEANSE_H_
