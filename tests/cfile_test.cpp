#include "base/cfile.h"

#include "tests/support/base.h"

namespace zepasign::testing {

TEST(File, HoldsEveryByteOfTheLastFileOrNothing) {
  const TempDirectory directory;
  logInto(directory, "ERROR");
  cFile file;
  for (const std::string& bytes : {std::string(70'000, 'x'), std::string("a\r\nb\n\0\x1A\xFF", 8), std::string()}) {
    EXPECT_TRUE(file.loadFromFile(directory.write("file", bytes).c_str()));
    EXPECT_EQ(bytesOf(file), bytes);
  }
  for (const char* path : {"100%s%n", ".", "", kNull}) {
    file.set("old", 3);
    EXPECT_FALSE(file.loadFromFile(path)) << path;
    EXPECT_EQ(file.data(), nullptr) << path;
  }
  EXPECT_EQ(logOf(directory.path()), "ERROR Open file = 100%s%n\nERROR Open file = .\n");
}

}  // namespace zepasign::testing
