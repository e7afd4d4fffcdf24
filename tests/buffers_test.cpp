#include <openssl/evp.h>

#include <cstring>

#include "base/base64.h"
#include "base/cchars.h"
#include "tests/support/base.h"

namespace zepasign::testing {

TEST(Buffers, FillingReplacesAndFailingEmpties) {
  cBytes buffer;
  EXPECT_TRUE(buffer.set("longer", 6));
  EXPECT_TRUE(buffer.set("a\0b", 3));
  EXPECT_EQ(std::string(buffer.data(), buffer.data() + 5), std::string("a\0b\0\0", 5));
  EXPECT_FALSE(buffer.set("abc", 0));
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(buffer.length(), 0);
  EXPECT_TRUE(buffer.set("old", 3));
  EXPECT_FALSE(buffer.allocate(0));
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_TRUE(buffer.set("abcdef", 6));
  buffer.truncate(2);
  EXPECT_EQ(bytesOf(buffer) + reinterpret_cast<const char*>(buffer.data()), "abab");
  cChars text;
  text.allocate(40, kTextSpare);
  std::memset(text.data(), 'x', 40 + kTextSpare);
  text.allocate(40, kTextSpare);  // where the x were
  EXPECT_EQ(std::string(text.data() + 40, kTextSpare), std::string(kTextSpare, '\0'));
}

TEST(Buffers, Hex) {
  cChars text;
  EXPECT_TRUE(text.setHex(reinterpret_cast<const unsigned char*>("\0\xAB\x7F"), 3));
  EXPECT_FALSE(text.setHex(nullptr, 3));
  EXPECT_EQ(std::string(text.data(), text.data() + text.length()), "00AB7F");
  cBytes bytes;
  EXPECT_TRUE(bytes.setFromHex("0aFf!1/:g1Z9"));
  EXPECT_EQ(bytesOf(bytes), "\x0A\xFF\x11\xF3\x01\x39");
  for (const char* hex : {"", "0aF", kNull}) {
    bytes.set("old", 3);
    EXPECT_FALSE(bytes.setFromHex(hex)) << hex;
    EXPECT_EQ(bytes.data(), nullptr) << hex;
  }
}

TEST(Buffers, Base64IsThatOfLibcryptoWholeAndInPieces) {
  unsigned state = 1;
  std::vector<unsigned char> bytes;
  for (int length = 1; length <= 1 << 14; length += length < 64 ? 1 : length) {
    while (bytes.size() < static_cast<std::size_t>(length)) {
      state = state * 1664525U + 1013904223U;  // a linear congruential generator, whose highest bits are the best ones
      bytes.push_back(static_cast<unsigned char>(state >> 24U));
    }
    std::string text(base64::encodedLength(bytes.size()), '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), length);
    cChars whole;
    cBytes back;
    ASSERT_TRUE(whole.base64Encode(std::vector(bytes).data(), length));
    ASSERT_TRUE(back.base64Decode(whole.data()));
    EXPECT_EQ(std::string(whole.data(), whole.data() + whole.length()), text);
    EXPECT_EQ(bytesOf(back), std::string(bytes.begin(), bytes.end()));
    for (const std::size_t size : {1U, 2U, 3U, 4U, 5U, 7U, 31U, 64U}) {
      base64::Encoder encoder(whole.data());
      for (ByteSpan rest(bytes); !rest.empty(); rest = rest.subspan(std::min(size, rest.size())))
        encoder.add(rest.first(std::min(size, rest.size())));
      EXPECT_EQ(std::string(whole.data(), encoder.finish()), text);
    }
    EXPECT_FALSE(whole.base64Encode(bytes.data(), 0));
    EXPECT_EQ(whole.data(), nullptr);
  }
}

TEST(Buffers, Base64DecodesWithinTheBoundThatItNames) {
  for (const char letter : {'Q', '=', ' '}) {
    for (std::size_t length = 0; length <= 12; ++length) {
      std::vector<unsigned char> area(base64::decodedBound(length) + 4, 0xEE);
      EXPECT_LE(base64::decode(std::string(length, letter), area.data()), base64::decodedBound(length));
      EXPECT_EQ(std::vector(area.end() - 4, area.end()), std::vector<unsigned char>(4, 0xEE)) << length << letter;
    }
  }
}

TEST(Buffers, Base64IsReadLenientlyButNotWithoutBothPemBoundaries) {
  const TempDirectory directory;
  logInto(directory, "ERROR");
  cBytes bytes;
  std::string all;
  for (const char* text : {"QQ==", "QUI=", "QUI", "QUI=QUJD", "QUJD\r\n", " Q U\r\nJ\nD \r\nQQ==\n", "P", "=QQQ",
                           "QU\tJ", "\xA4QQQ", "-----BEGIN X-----\r\nQUJD\r\nQUI=\r\n-----END X-----\r\n",
                           "note -----QUJD-----", "-----X-----\n-----E-----"}) {
    all += bytes.base64Decode(text) ? bytesOf(bytes) + "|" : "failed";
  }
  EXPECT_EQ(all, "A|AB|AB|ABABC|ABC|ABCA|<|\x01\x04\x10|A@I|\x05\x04\x10|ABCAB|ABC|\x10|");
  for (const char* text : {kNull, "", "\r\n ", "-----BEGIN X", "-----BEGIN X-----\r\nQUJD"}) {
    bytes.set("old", 3);
    EXPECT_FALSE(bytes.base64Decode(text)) << text;
    EXPECT_EQ(bytes.data(), nullptr) << text;
  }
  EXPECT_EQ(logOf(directory.path()), big5("ERROR cBytes::base64Decode() ----- BEGIN 不對稱\n"
                                          "ERROR cBytes::base64Decode() ----- END 不對稱\n"));
}

}  // namespace zepasign::testing
