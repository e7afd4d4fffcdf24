#include <gtest/gtest.h>
#include <windows.h>

#include <cerrno>

#include "base/cfile.h"
#include "base/charset.h"
#include "base/platform.h"
#include "tests/support/base.h"

namespace zepasign {
namespace {

using testing::bytesOf, testing::TempDirectory;

TEST(LogWindows, EndsLinesWithCrLfAndSharesTheFile) {
  const TempDirectory directory;
  const std::string path = directory.path("x.log");
  platform::AppendFile one(path.c_str());
  platform::AppendFile other(path.c_str());  // as another process of the host would have it open
  one.append("a\nb\n");
  other.append("c\n");
  one.append("d\n");
  EXPECT_EQ(testing::readFile(path), "a\r\nb\r\nc\r\nd\r\n");
  one.append(std::string(20'000, '\n'));  // beyond the buffer of one write
  EXPECT_EQ(std::filesystem::file_size(path), 40'012U);
}

TEST(FileWindows, OpensNamesWithABackslashForASecondByte) {
  if (GetACP() != 950) GTEST_SKIP() << "the code page is not 950";
  const TempDirectory directory;
  const std::string inner = directory.path() + "\\\xA5\x5C";
  ASSERT_TRUE(platform::createDirectory(inner.c_str()));
  const std::string file = inner + "\\\xB3\x5C.txt";
  platform::AppendFile(file.c_str()).append("content");
  cFile loaded;
  EXPECT_TRUE(loaded.loadFromFile(file.c_str()));
  EXPECT_EQ(bytesOf(loaded), "content");
  for (const std::string& name : {inner, inner + "\\", inner + "/"}) {
    std::vector<std::string> names;
    EXPECT_TRUE(platform::listDirectory(name, names));
    EXPECT_EQ(std::count(names.begin(), names.end(), "\xB3\x5C.txt"), 1) << name;
  }
}

TEST(FileWindows, OpensOnlyRegularFiles) {
  const TempDirectory directory;
  cFile file;
  for (const std::string& path : {std::string("NUL"), std::string(R"(\\.\pipe\none)"), directory.path()}) {
    EXPECT_FALSE(file.loadFromFile(path.c_str())) << path;
  }
}

TEST(FileWindows, TakesADriveForADirectoryThatExists) {
  EXPECT_TRUE(platform::createDirectory("C:"));
  EXPECT_TRUE(platform::createDirectory("C:\\"));
  EXPECT_FALSE(platform::createDirectory("C:\\none\\none"));
  std::vector<std::string> names;
  EXPECT_FALSE(platform::listDirectory("C:\\none", names));
  EXPECT_FALSE(platform::listDirectory("", names));
  EXPECT_TRUE(names.empty());
}

// What code page 950 knows beyond BIG5 must not be signed here and refused elsewhere.
TEST(CharsetWindows, KnowsNoUserDefinedCharacters) {
  for (const char* text : {"\x81\x40", "\xA0\xFE", "\xFA\x40", "a\xFE\xFE"}) {
    for (const char* target : {"BIG5", "UTF-16LE"}) {
      cBytes output;
      errno = 0;
      EXPECT_FALSE(convertUniCodeStringToAny(text, target, &output)) << target;
      EXPECT_EQ(errno, EILSEQ);
    }
  }
  cBytes output;
  EXPECT_TRUE(convertUniCodeStringToAny("\xA4\xFA\xC6\xA1", "UTF-16LE", &output));  // 0xFA as a second byte
  EXPECT_EQ(bytesOf(output), "\x59\x72\xB1\xF6");
}

}  // namespace
}  // namespace zepasign
