// Chinese texts are readable UTF-8 in the sources and Big5 (code page 950) bytes in the binary, whichever compiler
// builds them: "簽章失敗"_big5 is converted at compile time. A character that is missing from big5_table.inc is a
// compile error; scripts/big5-table.sh writes the table from the texts in the sources.
//
// The conversion is part of the compilation, and not a compiler switch, because the switches differ between compilers
// and would hold for all other texts of a file, too. A wrong text therefore cannot be built.
#ifndef ZEPASIGN_BASE_BIG5_H_
#define ZEPASIGN_BASE_BIG5_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace zepasign {

// Big5Pair: a Unicode code point of the basic plane and its two bytes in Big5, the lead byte in the high half.
struct Big5Pair {
  char16_t unicode;
  char16_t big5;
};

// kBig5Table: every character that the texts use, sorted by code point.
inline constexpr Big5Pair kBig5Table[] = {
#include "base/big5_table.inc"
};

// Implementation of the literal; nothing outside this file uses it.
namespace big5 {

// Utf8Literal: the text as a template argument.
template <std::size_t N>
struct Utf8Literal {
  char text[N];
  consteval Utf8Literal(const char (&source)[N]) { std::copy_n(source, N, text); }  // NOLINT: implicit by design
};

// fromUnicode: the two bytes of one character. A throw in a constant expression is a compile error that shows its text.
constexpr char16_t fromUnicode(char16_t unicode) {
  const auto* row = std::lower_bound(std::begin(kBig5Table), std::end(kBig5Table), unicode,
                                     [](const Big5Pair& pair, char16_t key) { return pair.unicode < key; });
  if (row == std::end(kBig5Table) || row->unicode != unicode) throw "run scripts/big5-table.sh";
  return row->big5;
}

// fromUtf8: as many bytes as the UTF-8 text has, since Big5 is never longer; zeros fill the rest.
template <std::size_t N>
constexpr std::array<char, N> fromUtf8(const Utf8Literal<N>& source) {
  std::array<char, N> result{};
  std::size_t length = 0;
  const auto bits = [&](std::size_t at, unsigned mask) { return static_cast<unsigned char>(source.text[at]) & mask; };
  for (std::size_t i = 0; i + 1 < N;) {
    if (bits(i, 0x80) == 0) {
      result[length++] = source.text[i++];
      continue;
    }
    if (bits(i, 0xF0) != 0xE0) throw "only characters of three UTF-8 bytes are in the table";
    const auto unicode = static_cast<char16_t>(bits(i, 0x0F) << 12 | bits(i + 1, 0x3F) << 6 | bits(i + 2, 0x3F));
    const char16_t code = fromUnicode(unicode);
    result[length++] = static_cast<char>(code >> 8);
    result[length++] = static_cast<char>(code & 0xFF);
    i += 3;
  }
  return result;
}

// kBytes: one static object for each different text.
template <Utf8Literal Text>
inline constexpr auto kBytes = fromUtf8(Text);

}  // namespace big5

// _big5: a static, NUL-terminated text in Big5.
template <big5::Utf8Literal Text>
consteval const char* operator""_big5() {
  return big5::kBytes<Text>.data();
}

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_BIG5_H_
