// Base64 (RFC 4648, section 4) at the speed of memory, without line breaks.
#ifndef ZEPASIGN_BASE_BASE64_H_
#define ZEPASIGN_BASE_BASE64_H_

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace zepasign::base64 {

// encodedLength: characters that `size` bytes encode to, padding included.
[[nodiscard]] constexpr std::size_t encodedLength(std::size_t size) { return (size + 2) / 3 * 4; }

// Encoder: writes the text of bytes that arrive in pieces of any length straight to its place.
class Encoder final {
 public:
  // REQUIRES: `out` has room for encodedLength of all pieces together.
  explicit Encoder(char* out) noexcept : out_(out) {}

  void add(std::span<const unsigned char> bytes) noexcept;
  // finish: writes the last group with its padding; returns the end of the text.
  char* finish() noexcept;

 private:
  char* out_;
  std::array<unsigned char, 3> carry_{};
  std::size_t carried_ = 0;
};

// decodedBound: room enough for what a text of this length decodes to.
[[nodiscard]] constexpr std::size_t decodedBound(std::size_t length) { return (length / 4 + 1) * 3; }

// decode: writes the bytes of `text` to `out` and returns their count; nothing behind them is written to. CR, LF and
// spaces are skipped. "=" has the value 64, what stands outside the alphabet 65, what lies behind the end 64: no text
// is rejected. REQUIRES: `out` has room for decodedBound.
[[nodiscard]] std::size_t decode(std::string_view text, unsigned char* out) noexcept;

}  // namespace zepasign::base64

#endif  // ZEPASIGN_BASE_BASE64_H_
