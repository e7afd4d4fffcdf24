#include "base/caescipher.h"

#include "tests/support/base.h"

namespace zepasign::testing {

struct Hex : cBytes {
  explicit Hex(const char* digits) { EXPECT_TRUE(setFromHex(digits)); }
};

// The first block of NIST SP 800-38A, F.2.5 (CBC-AES256), its plain text also as a zero IV needs it.
struct Cipher : ::testing::Test {
  const Hex key{"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4"};
  const Hex iv{"000102030405060708090a0b0c0d0e0fffffffffffffffffffffffffffffffff"};  // the second half is not used
  const Hex plain{"6bc1bee22e409f96e93d7e117393172a"}, plainXorIv{"6bc0bce12a459991e134741a7f9e1925"};
  const std::string encrypted = bytesOf(Hex("f58c4c04d6e5f1ba779eabfb5f7bfbd6"));
  cAesCipher cipher;
  unsigned char area[32] = {};
  int capacity = 15;
};

TEST_F(Cipher, TellsTheSizeItNeedsAndGivesTheKnownAnswerAndBack) {
  EXPECT_TRUE(cipher.setKey(key.data(), nullptr));
  EXPECT_EQ(cipher.encrypt(plain.data(), 15, area, &capacity), 16);
  EXPECT_EQ(cipher.encrypt(plain.data(), 16, nullptr, nullptr), 32);
  EXPECT_EQ(std::count(area, area + 32, 0), 32);
  EXPECT_EQ(capacity, 15);
  EXPECT_EQ(cipher.encrypt(plain.data(), 15, area, &++capacity), 0);
  capacity = 32;
  EXPECT_EQ(cipher.encrypt(plainXorIv.data(), 16, area, &capacity), 0);
  EXPECT_EQ(std::string(area, area + 16), encrypted);
  EXPECT_TRUE(cipher.setKey(key.data(), iv.data()));
  EXPECT_EQ(cipher.decrypt(area, 32, area, &capacity), 0);
  EXPECT_EQ(std::string(area, area + capacity), bytesOf(plain));
}

TEST_F(Cipher, FailsWithoutKeyInputOrTheRightKey) {
  EXPECT_EQ(cipher.encrypt(plain.data(), 16, nullptr, nullptr), -1);
  EXPECT_TRUE(cipher.setKey(key.data(), iv.data()));
  for (int length : {0, -1, kMaxLength}) EXPECT_EQ(cipher.encrypt(plain.data(), length, nullptr, nullptr), -1);
  EXPECT_EQ(cipher.encrypt(nullptr, 16, nullptr, nullptr), -1);
  for (int length : {15, 16}) EXPECT_EQ(cipher.decrypt(plain.data(), length, nullptr, nullptr), -1);
  EXPECT_FALSE(cipher.setKey(nullptr, iv.data()));
  EXPECT_EQ(cipher.encrypt(plain.data(), 16, nullptr, nullptr), -1);
}

}  // namespace zepasign::testing
