// Base64 (RFC 4648, section 4) without line breaks. Encoding takes bytes in pieces, so that a signature is encoded part
// by part straight into the text that the host will read. Decoding is lenient: callers depend on damaged texts giving
// the same bytes on every system.
//
// Memory belongs to the caller in both directions; nothing is allocated and nothing throws.
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

// decodedBound: the most bytes that a text of this length decodes to: three for every four characters, and two for a
// last group of three.
[[nodiscard]] constexpr std::size_t decodedBound(std::size_t length) { return length / 4 * 3 + 2; }

// decode: writes the bytes of `text` to `out` and returns their count; nothing behind them is written to. CR, LF and
// spaces are skipped. No text is rejected: "=" has the value 64, a character outside the alphabet 65, and a missing
// character at the end 64. REQUIRES: `out` has room for decodedBound.
[[nodiscard]] std::size_t decode(std::string_view text, unsigned char* out) noexcept;

}  // namespace zepasign::base64

#endif  // ZEPASIGN_BASE_BASE64_H_
