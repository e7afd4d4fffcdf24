#include <sys/resource.h>
#include <unistd.h>

#include "tests/support/faults_posix.h"
#include "tests/support/loaded_library_posix.h"

namespace zepasign::testing {

TEST_F(HostProcess, LoadAndUnloadItAThousandTimes) {
  prepare();
  long before = 0;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(LoadedLibrary().signs(file_), expected_);
    if (i == 99) before = liveBlocks();
  }
  EXPECT_FALSE(LoadedLibrary::isLoaded());
  // Two blocks stay each time: the digest's name and the last signature, which callers may still read.
  EXPECT_LE(liveBlocks() - before, 900 * 2);
}

TEST_F(HostProcess, UseOpensslBeforeBesideAndAfterIt) {
  prepare();
  for (unsigned order = 0; order < 4; ++order) {
    const auto body = [&] {
      const auto useOpenssl = [] { EXPECT_FALSE(derOf(makeIdentity({}).certificate).empty()); };
      if ((order & 1U) != 0) useOpenssl();
      auto library = std::make_unique<LoadedLibrary>();
      EXPECT_EQ(library->signs(file_), expected_);
      useOpenssl();
      EXPECT_EQ(library->signs(file_), expected_);
      (order & 2U) != 0 ? library.reset() : static_cast<void>(library.release());
      useOpenssl();
    };
    inChild(body, std::to_string(order));
  }
}

TEST_F(HostProcess, WorkWithoutStandardOutputAndEndWithTextPending) {
  prepare();
  const auto body = [&] {
    close(STDOUT_FILENO);  // the next file that is opened gets its number
    EXPECT_TRUE(LoadedLibrary().signs(file_) == expected_);
    const LoadedLibrary pending;
    EXPECT_EQ(pending.sign(), 5204);
  };
  inChild(body, "unloading");
}

TEST_F(HostProcess, OutliveALogBeyondTheFileSizeLimit) {
  prepare();
  const LoadedLibrary library;
  rlimit limits{100, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &limits);
  EXPECT_EQ(library.signs(file_), expected_) << "no signal for the log that is cut off";
}

}  // namespace zepasign::testing
