#include "base/charset.h"

#include <cerrno>

#include "tests/support/base.h"

namespace zepasign::testing {

TEST(Charset, GivesTheBytesToBeSignedOrNone) {
  cBytes output;
  const std::string duplicates = "\xA2\xCC\xA4\x40\xF9\xF9";  // a converter would fold the first and the last
  EXPECT_TRUE(convertUniCodeStringToAny(duplicates.c_str(), "big5", &output));
  EXPECT_EQ(bytesOf(output), duplicates);
  EXPECT_TRUE(convertUniCodeStringToAny(("\xB3\\" + std::string(200, 'a')).c_str(), "utf-16le", &output));
  EXPECT_TRUE(bytesOf(output).starts_with(std::string("\x31\x8A\x61\0", 4)));
  EXPECT_EQ(output.length(), 402);
  for (const char* text : {"\xA4", "a\xA4\x20z", "a\xFF"}) {
    for (const char* target : {"BIG6", "UTF-16LE", "BIG5"}) {
      output.set("old", 3);
      EXPECT_FALSE(convertUniCodeStringToAny(text, target, &output)) << text << target;
      EXPECT_EQ(output.data(), nullptr);
    }
  }
  EXPECT_EQ(errno, EILSEQ);
  EXPECT_FALSE(convertUniCodeStringToAny("a", "BIG5", nullptr));
  EXPECT_FALSE(convertUniCodeStringToAny(nullptr, "BIG5", &output));
}

}  // namespace zepasign::testing
