// Encoding: three bytes are 24 bits, four characters of 6 bits each. A processor with AVX2 encodes 24 bytes in one
// step. Elsewhere, and for the last bytes of a piece, a table of 4096 pairs gives two characters for each 12 bits; six
// bytes are loaded at once as one 64-bit number where eight can be read. What does not fill a group of three waits for
// the next piece.
//
// Decoding: groups of four plain characters are decoded in a tight loop. The first group with anything else in it (a
// blank, "=", a foreign character, the end) is decoded symbol by symbol, by the rule of `decode`; then the loop goes
// on.
#include "base/base64.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace zepasign::base64 {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr unsigned kPad = 64;
constexpr unsigned kForeign = 65;

// kPairs: the two characters for each value of 12 bits, so that three bytes take two look-ups.
using CharPair = std::array<char, 2>;
using Pairs = std::array<CharPair, 4096>;
constexpr Pairs makePairs() {
  Pairs pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kAlphabet[i >> 6U], kAlphabet[i & 63U]};
  return pairs;
}
constexpr Pairs kPairs = makePairs();

// kValues: the value of each character as a symbol.
using Values = std::array<std::uint8_t, 256>;
constexpr Values makeValues() {
  Values values{};
  values.fill(kForeign);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}
constexpr Values kValues = makeValues();

void encodeGroup(const unsigned char* in, char* out) {
  const unsigned bits = static_cast<unsigned>(in[0]) << 16U | static_cast<unsigned>(in[1]) << 8U | in[2];
  std::memcpy(out, kPairs[bits >> 12U].data(), 2);
  std::memcpy(out + 2, kPairs[bits & 0xFFFU].data(), 2);
}

std::uint64_t loadBigEndian(const unsigned char* in) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, in, sizeof bits);
  return std::endian::native == std::endian::big ? bits : __builtin_bswap64(bits);
}

// encodeTwoGroups: six bytes, loaded at once. REQUIRES: eight bytes to read.
void encodeTwoGroups(const unsigned char* in, char* out) {
  const std::uint64_t bits = loadBigEndian(in);
  std::memcpy(out, kPairs[static_cast<std::size_t>(bits >> 52U)].data(), 2);
  std::memcpy(out + 2, kPairs[bits >> 40U & 0xFFFU].data(), 2);
  std::memcpy(out + 4, kPairs[bits >> 28U & 0xFFFU].data(), 2);
  std::memcpy(out + 6, kPairs[bits >> 16U & 0xFFFU].data(), 2);
}

// encodeInVectors: encodes what the processor can encode in vectors, removes it from `bytes` and returns the end of the
// text. What is left is for the table; that may be everything.
#if defined(__x86_64__) && defined(__linux__)  // MinGW does not align the stack for vectors of 32 bytes
// encodeWithAvx2: the same by 24 bytes at a time, as long as 32 can be read. REQUIRES: a processor with AVX2.
[[gnu::target("avx2")]] char* encodeWithAvx2(std::span<const unsigned char>& bytes, char* out) {
  using Characters [[gnu::vector_size(32)]] = signed char;
  using Numbers [[gnu::vector_size(32)]] = std::uint16_t;
  using Groups [[gnu::vector_size(32)]] = std::uint32_t;
  std::span<const unsigned char> left = bytes;
  // 24 of the loaded bytes are used: twelve for each half, since bytes are shuffled within a half only.
  for (; left.size() >= sizeof(Groups); left = left.subspan(24), out += sizeof(Characters)) {
    Groups loaded;
    std::memcpy(&loaded, left.data(), sizeof loaded);
    const auto halves = Characters(__builtin_shufflevector(loaded, loaded, 0, 1, 2, 2, 3, 4, 5, 5));
    // Bytes a, b, c become b, a, c, b: the little-endian 16-bit numbers a * 256 + b, with the first two characters in
    // bits 15 to 4, and b * 256 + c, with the other two in bits 11 to 0.
    const auto groups =
        Groups(__builtin_shufflevector(halves, halves, 1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 17, 16, 18,
                                       17, 20, 19, 21, 20, 23, 22, 24, 23, 26, 25, 27, 26));
    const auto evenValues = (groups >> 10U & 0x3FU) | (groups >> 6U & 0x3F0000U);
    // Multiplying by 16 and by 256 shifts neighbours by different widths.
    const auto oddValues = Groups(Numbers(groups & 0x3F03F0U) * Numbers(Groups{} + 0x1000010U));
    const auto values = Characters(evenValues | oddValues);
    // In this order no sum overflows.
    const Characters text = values - ((values > 51) & ('z' + 1 - '0')) + 'A' + ((values > 25) & ('a' - 'Z' - 1)) -
                            ((values > 61) & ('9' + 1 - '+')) + ((values > 62) & ('/' - '+' - 1));
    std::memcpy(out, &text, sizeof text);
  }
  bytes = left;
  return out;
}

char* encodeInVectors(std::span<const unsigned char>& bytes, char* out) {
  return __builtin_cpu_supports("avx2") != 0 ? encodeWithAvx2(bytes, out) : out;
}
#else
char* encodeInVectors(std::span<const unsigned char>& /*bytes*/, char* out) { return out; }
#endif

// encodeGroups: encodes as many groups of three as there are, removes them from `bytes` and returns the end of the
// text. Its variables are local: a written character may alias a member, which would be loaded again for each group.
char* encodeGroups(std::span<const unsigned char>& bytes, char* out) {
  out = encodeInVectors(bytes, out);
  std::span<const unsigned char> left = bytes;
  // Four steps written out by the compiler save a tenth of the time. The last of them reads up to the 26th byte.
  for (; left.size() >= 26; left = left.subspan(24), out += 32) {
    for (std::size_t i = 0; i < 4; ++i) encodeTwoGroups(left.data() + 6 * i, out + 8 * i);
  }
  for (; left.size() >= 8; left = left.subspan(6), out += 8) encodeTwoGroups(left.data(), out);
  for (; left.size() >= 3; left = left.subspan(3), out += 4) encodeGroup(left.data(), out);
  bytes = left;
  return out;
}

unsigned valueOf(char c) { return kValues[static_cast<unsigned char>(c)]; }

// decodeWholeGroups: decodes groups of four alphabet characters without padding; stops before the first other group.
std::size_t decodeWholeGroups(std::string_view text, std::size_t& position, unsigned char* out) {
  const unsigned char* start = out;
  for (; position + 4 <= text.size(); position += 4) {
    const unsigned a = valueOf(text[position]);
    const unsigned b = valueOf(text[position + 1]);
    const unsigned c = valueOf(text[position + 2]);
    const unsigned d = valueOf(text[position + 3]);
    if ((a | b | c | d) > 63) break;
    const unsigned bits = a << 18U | b << 12U | c << 6U | d;
    *out++ = static_cast<unsigned char>(bits >> 16U);
    *out++ = static_cast<unsigned char>(bits >> 8U);
    *out++ = static_cast<unsigned char>(bits);
  }
  return static_cast<std::size_t>(out - start);
}

void skipBlanks(std::string_view text, std::size_t& position) {
  while (position < text.size() && std::strchr("\r\n ", text[position]) != nullptr && text[position] != '\0')
    ++position;
}

unsigned nextSymbol(std::string_view text, std::size_t& position) {
  skipBlanks(text, position);
  return position < text.size() ? valueOf(text[position++]) : kPad;
}

// decodeAnyGroup: one group of any characters; returns the count of bytes, 1 to 3.
std::size_t decodeAnyGroup(std::string_view text, std::size_t& position, unsigned char* out) {
  const unsigned a = nextSymbol(text, position);
  const unsigned b = nextSymbol(text, position);
  const unsigned c = nextSymbol(text, position);
  const unsigned d = nextSymbol(text, position);
  out[0] = static_cast<unsigned char>(a * 4 + ((b >> 4U) & 3U));
  if (c == kPad) return 1;
  out[1] = static_cast<unsigned char>(b * 16 + ((c >> 2U) & 15U));
  if (d == kPad) return 2;
  out[2] = static_cast<unsigned char>(c * 64 + (d & 63U));
  return 3;
}

}  // namespace

void Encoder::add(std::span<const unsigned char> bytes) noexcept {
  while (carried_ != 0 && carried_ < 3 && !bytes.empty()) {
    carry_[carried_++] = bytes.front();
    bytes = bytes.subspan(1);
  }
  if (carried_ == 3) {
    encodeGroup(carry_.data(), out_);
    out_ += 4;
    carried_ = 0;
  }
  out_ = encodeGroups(bytes, out_);
  if (bytes.empty()) return;
  std::copy(bytes.begin(), bytes.end(), carry_.begin());
  carried_ = bytes.size();
}

char* Encoder::finish() noexcept {
  if (carried_ == 0) return out_;
  std::fill(carry_.begin() + static_cast<std::ptrdiff_t>(carried_), carry_.end(), static_cast<unsigned char>(0));
  encodeGroup(carry_.data(), out_);
  std::fill(out_ + carried_ + 1, out_ + 4, kAlphabet[kPad]);
  carried_ = 0;
  return out_ += 4;
}

std::size_t decode(std::string_view text, unsigned char* out) noexcept {
  std::size_t position = 0;
  std::size_t size = 0;
  for (;;) {
    size += decodeWholeGroups(text, position, out + size);
    skipBlanks(text, position);
    if (position >= text.size()) return size;
    size += decodeAnyGroup(text, position, out + size);
  }
}

}  // namespace zepasign::base64
