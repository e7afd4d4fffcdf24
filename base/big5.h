// Chinese texts are readable UTF-8 in the sources and Big5 (code page 950) bytes in the binary, whichever compiler
// builds them: "簽章失敗"_big5 is converted at compile time. A character that is missing from big5_table.inc is a
// compile error; scripts/big5-table.sh writes the table from the texts in the sources.
//
// The conversion is part of the compilation, and not a compiler switch, because the switches differ between compilers
// and would hold for all other texts of a file, too. A wrong text therefore cannot be built.
//
// To add a text: write it as "..."_big5 and run scripts/big5-table.sh when the compiler reports a missing character.
// ASCII characters may occur between the Chinese ones and keep their one byte. The second byte of a Big5 character may
// be an ASCII value, the backslash 0x5C for instance, so code that searches these texts must not look for single bytes.
//
// Everything here runs in the compiler; the program contains only the finished bytes. Any thread may read them.
#ifndef ZEPASIGN_BASE_BIG5_H_
#define ZEPASIGN_BASE_BIG5_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace zepasign {

// Big5Pair: a Unicode code point of the basic plane and its two bytes in Big5, the lead byte in the high half.
struct Big5Pair {
  char16_t unicode;  // U+0080 to U+FFFF, no surrogate
  char16_t big5;     // 0xA440 is the bytes A4 40, in this order on every machine
};

// kBig5Table: every character that the texts use, sorted by code point for the binary search of fromUnicode.
// REQUIRES: each code point occurs once.
inline constexpr Big5Pair kBig5Table[] = {
#include "base/big5_table.inc"
};

// Implementation of the literal; nothing outside this file uses it. The steps: the literal's text becomes a template
// argument (Utf8Literal), each of its characters is looked up (fromUnicode), and the bytes become a static array
// (kBytes), to which the literal operator returns a pointer.
namespace big5 {

// Utf8Literal: the text as a template argument. N counts the bytes of the UTF-8 text and its NUL; equal texts are equal
// arguments.
template <std::size_t N>
struct Utf8Literal {
  char text[N];
  consteval Utf8Literal(const char (&source)[N]) { std::copy_n(source, N, text); }  // NOLINT: implicit by design
};

// fromUnicode: the two bytes of one character, the lead byte in the high half. A throw in a constant expression is a
// compile error that shows its text.
constexpr char16_t fromUnicode(char16_t unicode) {
  const auto* row = std::lower_bound(std::begin(kBig5Table), std::end(kBig5Table), unicode,
                                     [](const Big5Pair& pair, char16_t key) { return pair.unicode < key; });
  if (row == std::end(kBig5Table) || row->unicode != unicode) throw "run scripts/big5-table.sh";
  return row->big5;
}

// fromUtf8: as many bytes as the UTF-8 text has, since Big5 is never longer; zeros fill the rest, so the result is
// NUL-terminated. One byte of UTF-8 is ASCII and is copied; three bytes (U+0800 to U+FFFF, RFC 3629) become the two of
// Big5. All other lengths are compile errors.
template <std::size_t N>
constexpr std::array<char, N> fromUtf8(const Utf8Literal<N>& source) {
  std::array<char, N> result{};
  std::size_t length = 0;
  const auto bits = [&](std::size_t at, unsigned mask) { return static_cast<unsigned char>(source.text[at]) & mask; };
  // Each pass takes one character; the NUL at N - 1 is left out.
  for (std::size_t i = 0; i + 1 < N;) {
    if (bits(i, 0x80) == 0) {
      result[length++] = source.text[i++];
      continue;
    }
    // 1110xxxx 10xxxxxx 10xxxxxx: four, six and six bits of the code point.
    if (bits(i, 0xF0) != 0xE0) throw "only characters of three UTF-8 bytes are in the table";
    const auto unicode = static_cast<char16_t>(bits(i, 0x0F) << 12 | bits(i + 1, 0x3F) << 6 | bits(i + 2, 0x3F));
    const char16_t code = fromUnicode(unicode);
    result[length++] = static_cast<char>(code >> 8);
    result[length++] = static_cast<char>(code & 0xFF);
    i += 3;
  }
  return result;
}

// kBytes: one static object for each different text in the whole library, whichever source files use it. Its size is
// that of the UTF-8 text with its NUL.
template <Utf8Literal Text>
inline constexpr auto kBytes = fromUtf8(Text);

}  // namespace big5

// _big5: a static, NUL-terminated text in Big5. The pointer stays valid until the library is unloaded; nobody frees it.
template <big5::Utf8Literal Text>
consteval const char* operator""_big5() {
  return big5::kBytes<Text>.data();
}

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_BIG5_H_
