#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>

#include "base/cfile.h"
#include "tests/support/base.h"

namespace zepasign::testing {

namespace fs = std::filesystem;

TEST(LogPosix, OutlivesAVanishedFolderAPipeAndAFullDisk) {
  const TempFolder folder;
  const std::string logs = folder.path("logs"), big(100'000, 'x');
  cLog log;
  log.writeText("INFO", "pending");
  ASSERT_TRUE(log.setLogFile(logs.c_str(), "x") && fs::remove(logs));
  log.writeText("INFO", "dropped");
  fs::create_directory(logs);
  log.writeText("INFO", "on");
  EXPECT_EQ(logOf(logs), "INFO pending\nDEBUG end cFile::createFolder() return = true\nINFO on\n");
  const fs::path file = fs::directory_iterator(logs)->path();
  ASSERT_TRUE(fs::remove(file) && mkfifo(file.c_str(), 0600) == 0);
  log.writeText("INFO", big);  // more than a pipe takes
  fs::remove(file);
  fs::create_symlink("/dev/full", file);
  log.writeText("INFO", big);
  fs::remove(file);
  log.writeText("INFO", "new");
  EXPECT_EQ(logOf(logs), "INFO new\n");
}

TEST(LogPosix, GivesNoMoreRightsThanTheUmaskLeaves) {
  const TempFolder folder;
  const fs::path logs = folder.path("a/b");
  const mode_t before = umask(027);
  cLog log;
  EXPECT_TRUE(log.setLogFile(logs.c_str(), "x"));
  log.writeText("INFO", "text");
  umask(before);
  for (const fs::path& made : {logs.parent_path(), logs}) EXPECT_EQ(fs::status(made).permissions(), fs::perms(0750));
  EXPECT_EQ(fs::directory_iterator(logs)->status().permissions(), fs::perms(0640));
}

TEST(FilePosix, LoadsOnlyOrdinaryFilesThatCanBeReadWhole) {
  const TempFolder folder;
  const std::string fifo = folder.path("fifo"), huge = folder.write("huge", "x");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::resize_file(huge, std::uintmax_t{1} << 32U | 1U);
  cFile file;
  EXPECT_TRUE(file.loadFromFile(folder.write("C:\\\xB3\\\xA5\\", "x").c_str()));
  for (const std::string& path : {fifo, huge, std::string("/sys/devices/system/cpu/online")})  // claims 4096 bytes
    EXPECT_TRUE(!file.loadFromFile(path.c_str()) && file.data() == nullptr) << path;
}

int leased = -1;

TEST(FilePosix, WaitsForALeaseToBeGivenUp) {
  const TempFolder folder;
  const std::string path = folder.write("leased", "x");
  struct sigaction giveUp {};
  giveUp.sa_handler = [](int) { fcntl(leased, F_SETLEASE, F_UNLCK); };
  giveUp.sa_flags = SA_RESTART;
  leased = open(path.c_str(), O_RDWR);
  ASSERT_TRUE(sigaction(SIGIO, &giveUp, nullptr) == 0 && fcntl(leased, F_SETLEASE, F_WRLCK) == 0);
  EXPECT_TRUE(cFile().loadFromFile(path.c_str()));
  close(leased);
}

}  // namespace zepasign::testing
