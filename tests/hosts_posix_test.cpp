#include <sys/resource.h>

#include <algorithm>
#include <clocale>
#include <ctime>
#include <map>

#include "tests/support/command.h"
#include "tests/support/host_posix.h"

namespace zepasign::testing {

TEST_F(Hosts, LoadAndUnloadItAThousandTimes) {
  prepare();
  long before = 0;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(Library().signs(file_), expected_);
    if (i == 99) before = liveBlocks();
  }
  EXPECT_EQ(dlopen(ZEPASIGN_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
  // The digest's name and the last signature stay on purpose.
  EXPECT_LE(liveBlocks() - before, 900 * 2);
}

TEST_F(Hosts, UseOpensslBeforeBesideAndAfterIt) {
  prepare();
  for (unsigned order = 0; order < 4; ++order) {
    const auto deed = [&] {
      const auto useOpenssl = [] { EXPECT_FALSE(derOf(makeIdentity({}).certificate).empty()); };
      if ((order & 1U) != 0) useOpenssl();
      auto library = std::make_unique<Library>();
      EXPECT_EQ(library->signs(file_), expected_);
      useOpenssl();
      EXPECT_EQ(library->signs(file_), expected_);
      (order & 2U) != 0 ? library.reset() : static_cast<void>(library.release());
      useOpenssl();
    };
    inChild(deed, std::to_string(order));
  }
}

TEST_F(Hosts, ForkAfterInitialisation) {
  prepare();
  const Library library;
  ASSERT_EQ(library.initialise(file_), 0);
  const auto signs = [&] { EXPECT_EQ(library.sign() == 0 ? library.text() : "", expected_); };
  inChild(signs, "the child");
  signs();
}

TEST_F(Hosts, WorkWithoutStandardOutputAndEndWithTextPending) {
  prepare();
  const auto deed = [&] {
    close(STDOUT_FILENO);  // the next file that is opened gets its number
    EXPECT_TRUE(Library().signs(file_) == expected_);
    const Library pending;
    EXPECT_EQ(pending.sign(), 5204);
  };
  inChild(deed, "unloading");
}

// The zones: east of Greenwich, west of it, and one that has daylight saving the whole year.
TEST_F(Hosts, LogInLocalTimeAndTellDatesInTaiwans) {
  prepare();
  for (const char* zone : {"CST-8", "EST5", "AAA3BBB-4,0/0,J365/25"}) {
    const auto deed = [&] {
      setenv("TZ", zone, 1);
      const auto localTime = [](const char* format) {
        const std::time_t now = std::time(nullptr);
        char text[32];
        return std::string(text, std::strftime(text, sizeof text, format, std::localtime(&now)));
      };
      const std::string before = localTime("%Y/%m/%d %T"), path = folder_.path("app.log" + localTime(".%Y%m%d"));
      std::filesystem::remove(path);
      const Library library;
      EXPECT_EQ(library.signs(file_), expected_);
      const std::string log = readFile(path), after = localTime("%Y/%m/%d %T");
      EXPECT_TRUE(before <= log.substr(0, before.size()) && log.substr(0, after.size()) <= after) << log.substr(0, 40);
      EXPECT_EQ(library.text("GetSignerCertNotBefore"), "20200101080000");
      EXPECT_EQ(library.text("GetSignerCertNotAfter"), "21000101075959");
    };
    inChild(deed, zone);
  }
}

TEST_F(Hosts, RunInTaiwansOldLocale) {
  prepare();
  const CommandResult made = runCommand("localedef -i zh_TW -f BIG5 '" + folder_.path("zh_TW.BIG5") + "'");
  if (made.exitCode > 1) GTEST_SKIP() << made.output;
  setenv("LOCPATH", folder_.path().c_str(), 1);
  const std::string text = big5("中文許功蓋");
  const Library library;
  std::map<std::string, std::string> first;
  for (const char* locale : {"C", "zh_TW.BIG5"}) {
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
    EXPECT_EQ(library.signs(file_), expected_);
    for (const char* encoding : {"big5", "utf-16le"}) {
      EXPECT_EQ(library.find(SignPkcs7, "SignPkcs7")(text.c_str(), encoding), 0);
      EXPECT_EQ(first.try_emplace(encoding, library.text()).first->second, library.text()) << locale;
    }
  }
}

static void limit(__rlimit_resource resource, rlim_t most) {
  rlimit limits{};
  getrlimit(resource, &limits);
  limits.rlim_cur = std::min(most, limits.rlim_max);
  setrlimit(resource, &limits);
}

TEST_F(Hosts, RunIntoLimits) {
  prepare();
  const Library library;
  limit(RLIMIT_FSIZE, 100);
  EXPECT_EQ(library.signs(file_), expected_) << "no signal for the log that is cut off";
  limit(RLIMIT_FSIZE, RLIM_INFINITY);
  limit(RLIMIT_NOFILE, 0);
  EXPECT_EQ(library.sign(), 0);
  EXPECT_EQ(library.find(SignPkcs7File, "SignPkcs7File")(file_.c_str()), 1002);
  EXPECT_EQ(library.initialise(file_), 1202);
  limit(RLIMIT_NOFILE, 1024);
  EXPECT_EQ(library.signs(file_), expected_);
}

}  // namespace zepasign::testing
