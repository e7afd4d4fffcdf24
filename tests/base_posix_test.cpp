#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <thread>

#include "base/cfile.h"
#include "base/propertyrules.h"
#include "tests/support/base.h"
#include "tests/support/command.h"

namespace {
std::size_t mostWrittenAtOnce = SIZE_MAX;
}

// write: the C library's, but it may take fewer bytes than it is given.
extern "C" ssize_t write(int file, const void* bytes, std::size_t size) {
  return syscall(SYS_write, file, bytes, std::min(size, mostWrittenAtOnce));
}

namespace zepasign::testing {

namespace fs = std::filesystem;
using namespace std::string_literals;

long openDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

// inChild: the status with which a child process ends after `body`; 0 when it came to its end within ten seconds.
template <class Body>
int inChild(const Body& body) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(10);
    body();
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

TEST(LogPosix, OutlivesAVanishedDirectoryAPipeAndAFullDisk) {
  const TempDirectory directory;
  const std::string logs = directory.path("logs"), big(100'000, 'x');
  cLog log;
  log.writeText("INFO", "pending");
  ASSERT_TRUE(log.setLogFile(logs.c_str(), "x") && fs::remove(logs));
  log.writeText("INFO", "dropped");
  fs::create_directory(logs);
  log.writeText("INFO", "on");
  EXPECT_EQ(logOf(logs), "INFO pending\nDEBUG end cFile::createFolder() return = true\nINFO on\n");
  const fs::path file = fs::directory_iterator(logs)->path();
  ASSERT_TRUE(fs::remove(file) && mkfifo(file.c_str(), 0600) == 0);
  const long before = openDescriptors();
  log.writeText("INFO", big);  // more than a pipe takes
  const int reader = open(file.c_str(), O_RDONLY | O_NONBLOCK);
  log.writeText("INFO", "not for the pipe");
  char byte = 0;
  EXPECT_EQ(read(reader, &byte, 1), 0);
  close(reader);
  EXPECT_EQ(openDescriptors(), before);
  fs::remove(file);
  fs::create_symlink("/dev/full", file);
  log.writeText("INFO", big);
  fs::remove(file);
  log.writeText("INFO", "new");
  EXPECT_EQ(logOf(logs), "INFO new\n");
}

TEST(LogPosix, WritesWholeLinesWithTheNumberOfTheProcessThatWrites) {
  const TempDirectory directory;
  cLog log;
  ASSERT_TRUE(log.setLogFile(directory.path().c_str(), "x"));
  mostWrittenAtOnce = 10;
  log.writeText("INFO", "parent");
  EXPECT_EQ(inChild([&] { log.writeValue("INFO", "child", std::to_string(getpid())); }), 0);
  mostWrittenAtOnce = SIZE_MAX;
  const std::string text = readFile(fs::directory_iterator(directory.path())->path());
  EXPECT_NE(text.find(" (PID=" + std::to_string(getpid()) + ")  INFO parent\n"), std::string::npos);
  const std::size_t child = text.find("child = ");
  ASSERT_NE(child, std::string::npos);
  const std::string number = text.substr(child + 8, text.size() - child - 9);
  EXPECT_NE(text.find(" (PID=" + number + ")  INFO child"), std::string::npos);
}

TEST(LogPosix, EndsWithoutSignalOrWaitingWhateverTheStandardOutputIs) {
  const TempDirectory directory;
  const auto endsInto = [](int output) {
    auto log = std::make_unique<cLog>();
    log->writeText("INFO", std::string(100'000, 'x'));
    dup2(output, STDOUT_FILENO);
    log.reset();
  };
  const int file = open(directory.path("out").c_str(), O_RDWR | O_CREAT, 0600);
  EXPECT_EQ(inChild([&] { endsInto(file); }), 0);
  EXPECT_TRUE(readFile(directory.path("out")).ends_with("xx\n"));
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(inChild([&] { endsInto(ends[1]); }), 0) << "a closed pipe";
  EXPECT_EQ(inChild([&] {
              std::thread([] { flockfile(stdout); }).join();
              endsInto(file);
            }),
            0)
      << "a locked stream";
  close(ends[1]);
  close(file);
}

TEST(LogPosix, GivesNoMorePermissionsThanTheUmaskLeaves) {
  const TempDirectory directory;
  const fs::path logs = directory.path("a/b");
  const mode_t before = umask(027);
  cLog log;
  EXPECT_TRUE(log.setLogFile(logs.c_str(), "x"));
  log.writeText("INFO", "text");
  umask(before);
  for (const fs::path& made : {logs.parent_path(), logs}) EXPECT_EQ(fs::status(made).permissions(), fs::perms(0750));
  EXPECT_EQ(fs::directory_iterator(logs)->status().permissions(), fs::perms(0640));
}

TEST(FilePosix, LoadsOnlyRegularFilesThatCanBeReadWhole) {
  const TempDirectory directory;
  const std::string fifo = directory.path("fifo"), huge = directory.write("huge", "x");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::resize_file(huge, std::uintmax_t{1} << 32U | 1U);
  cFile file;
  const long before = openDescriptors();
  EXPECT_TRUE(file.loadFromFile(directory.write("C:\\\xB3\\\xA5\\", "x").c_str()));
  // The last one claims 4096 bytes.
  for (const std::string& path : {fifo, huge, directory.path(), "/dev/null"s, "/sys/devices/system/cpu/online"s}) {
    EXPECT_FALSE(file.loadFromFile(path.c_str())) << path;
    EXPECT_EQ(file.data(), nullptr) << path;
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST(PropertyPosix, TellsSecretsInEveryLocale) {
  const TempDirectory directory;
  static_cast<void>(runCommand("localedef -i tr_TR -f ISO-8859-9 '" + directory.path("tr_TR") + "'"));  // may warn
  setenv("LOCPATH", directory.path().c_str(), 1);
  if (std::setlocale(LC_ALL, "tr_TR") == nullptr) GTEST_SKIP() << "no source for the locale tr_TR";
  EXPECT_NE(std::toupper('i'), 'I');
  EXPECT_TRUE(isSecretKey("PSW.LICENCE"));
  EXPECT_TRUE(isSecretKey("psw.licence"));
}

int leased = -1;

TEST(FilePosix, WaitsForALeaseToBeGivenUp) {
  const TempDirectory directory;
  const std::string path = directory.write("leased", "x");
  struct sigaction giveUp {};
  giveUp.sa_handler = [](int) { fcntl(leased, F_SETLEASE, F_UNLCK); };
  giveUp.sa_flags = SA_RESTART;
  leased = open(path.c_str(), O_RDWR);
  ASSERT_TRUE(sigaction(SIGIO, &giveUp, nullptr) == 0 && fcntl(leased, F_SETLEASE, F_WRLCK) == 0);
  EXPECT_TRUE(cFile().loadFromFile(path.c_str()));
  close(leased);
}

}  // namespace zepasign::testing
