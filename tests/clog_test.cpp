#include "base/clog.h"

#include "base/platform.h"
#include "base/text.h"
#include "tests/support/base.h"

namespace zepasign::testing {

TEST(Log, WritesPendingLinesFirstIntoTheFileOfTheDay) {
  const TempDirectory directory;
  const std::string many(100'000, '%'), row = "30 31 32 33 34 35 36 37 38 39 1f 20 7e 7f 80 ff : 0123456789. ~...\n";
  const unsigned char bytes[] = "0123456789\x1F ~\x7F\x80\xFF%s\nA";
  cLog log;
  const auto writeAll = [&](const std::string& fill) {
    log.writeText("INFO", "100%s%n%");
    log.writeValue("PARAM", "%d", many);
    log.writeInt("ERROR", "i", -5005);
    log.writeBool("WARN", "%n", false);
    log.writeHex("DEBUG", "a", nullptr, 10);
    log.writeHex("DEBUG", "b", bytes, 16);
    log.writeHex("DEBUG", "c", {{bytes, 7}, {}, {bytes + 7, 13}});
    return "INFO 100%s%n%\nPARAM %d = " + many + "\nERROR i = 0xFFFFEC73(-5005)\nWARN %n = false\n" +
           "DEBUG a(len=10, 0xA) = \nDEBUG b(len=16, 0x10) = \n 0x00000000 - " + row +
           "DEBUG c(len=20, 0x14) = \n 0x00000000 - " + row + " 0x00000010 - 25 73 0a 41" + std::string(36, ' ') +
           " : %s.A" + fill + "\n";
  };
  const std::string pending = writeAll(std::string(12, ' '));  // only pending rows are filled up
  EXPECT_TRUE(log.setLogFile(directory.path().c_str(), "x"));
  EXPECT_TRUE(readLog(directory.path()).empty());
  const std::string direct = writeAll("");
  EXPECT_EQ(logOf(directory.path()), pending + "DEBUG end cFile::createFolder() return = true\n" + direct);
  const std::string text = readFile(directory.path("x." + platform::localDateText().substr(0, 8)));
  EXPECT_EQ(text.find(" (PID=" + std::to_string(platform::processId()) + ") "), 23U);
}

TEST(Log, OnlyWhatNoFileTookGoesToTheStandardOutput) {
  const TempDirectory directory;
  auto lost = std::make_unique<cLog>(), kept = std::make_unique<cLog>();
  for (cLog* log : {lost.get(), kept.get()}) log->writeText("WARN", "pending");
  for (int i = 0; i < 17; ++i) lost->writeText("WARN", std::string(1U << 20U, 'x'));
  kept->setLogFile(directory.path().c_str(), "x");
  kept->writeText("WARN", "again");
  ::testing::internal::CaptureStdout();
  for (auto* log : {&lost, &kept}) log->reset();
  const std::string output = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(output.find("  WARN pending"), output.rfind("  WARN pending"));
  EXPECT_TRUE(output.ends_with(big5("\n暫存的 LOG 已滿, 其後內容捨棄\n")));
}

TEST(Log, IsWrittenInUtf8WhenThatIsChosen) {
  const TempDirectory directory;
  const std::string label = big5("檔名"), utf8 = "中平/\xF0\x9F\x94\x91",
                    mixed = big5("簽章") + "\xFF\x80" + big5("許功蓋") + "\xA4";
  const unsigned char bytes[] = {0xC3, 0xA6, '='};
  cLog log;
  const auto writeAll = [&] {
    log.writeValue("INFO", label, mixed);
    log.writeValue("INFO", label, utf8);
    log.writeText("INFO", mixed);
    log.writeHex("INFO", label, bytes, 3);
  };
  const std::string converted = "簽章\xFF\x80許功蓋\xA4",
                    row = " 0x00000000 - c3 a6 3d" + std::string(39, ' ') + " : ..=";
  const std::string all = "INFO 檔名 = " + converted + "\nINFO 檔名 = " + utf8 + "\nINFO " + converted +
                          "\nINFO 檔名(len=3, 0x3) = \n" + row;
  log.setEncoding("Big5");
  writeAll();
  log.setEncoding("utf-8");
  EXPECT_TRUE(log.setLogFile(directory.path().c_str(), "x"));
  log.setEncoding("");  // too late
  writeAll();
  EXPECT_EQ(logOf(directory.path()),
            all + std::string(13, ' ') + "\nDEBUG end cFile::createFolder() return = true\n" + all + "\n");
}

TEST(Log, Levels) {
  const TempDirectory directory;
  logInto(directory, kNull);
  for (const char* name : {"Error", "WARN ", "warn", "OFF", "", "Info", "debug"}) {
    logger.setLevel(name);
    logText(kDebug, "text");
    logValue(kParam, "value", "v");
    logInt(kWarn, "int", 1);
    logBool(kError, "bool", true);
  }
  const std::string error = "ERROR bool = true\n", warn = "WARN int = 0x00000001(1)\n" + error;
  EXPECT_EQ(logOf(directory.path()), big5("DEBUG end cFile::createFolder() return = true\n" + error + error + warn +
                                          "INFO 重設 LOG Level = INFO\nPARAM value = v\n" + warn +
                                          "INFO 重設 LOG Level = DEBUG\nDEBUG text\nPARAM value = v\n" + warn));
}

TEST(Log, FileIsChosenOnceAndItsDirectoriesAreMade) {
  const TempDirectory directory;
  const std::string belowAFile = directory.write("file", "") + "/a", nested = directory.path("a/b//c/");
  cLog log;
  EXPECT_FALSE(log.setLogFile(nullptr, "x"));
  EXPECT_FALSE(log.setLogFile("", "x"));
  EXPECT_FALSE(log.setLogFile(nested.c_str(), ""));
  EXPECT_FALSE(log.setLogFile(belowAFile.c_str(), "x"));
  EXPECT_TRUE(log.setLogFile(nested.c_str(), "x"));
  EXPECT_FALSE(log.setLogFile(directory.path().c_str(), "y"));
  log.writeText("WARN", "here");
  const std::string created = "DEBUG end cFile::createFolder() return = ";
  EXPECT_EQ(logOf(nested), created + "false\n" + created + "true\nWARN here\n");
}

}  // namespace zepasign::testing
