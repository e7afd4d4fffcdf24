#include <sys/resource.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "tests/support/command.h"
#include "tests/support/faults_posix.h"
#include "tests/support/files.h"
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

TEST_F(HostProcess, RunOutOfMemoryInAProgramOfC) {
  prepare();
  const CommandResult host = runCommand(std::string(ZEPASIGN_C_HOST) + " " + ZEPASIGN_LIBRARY + " " + file_);
  EXPECT_EQ(host.exitCode, 0);
  EXPECT_EQ(host.output, "0 5002 5002 0\n");
}

TEST_F(HostProcess, LoadItWhileMemoryIsShort) {
  prepare();
  const auto body = [&] {
    static_cast<void>(derOf(makeIdentity({}).certificate));  // what libcrypto keeps of its own first use is not ours
    for (long n = 1; n == 1 || failedCaller() != nullptr; n += 53) {
      std::unique_ptr<LoadedLibrary> library;
      failAt(Fault::memory, n, false);
      try {
        library = std::make_unique<LoadedLibrary>();
      } catch (const std::exception&) {  // the loader itself had no memory
      }
      endFaults();
      if (library) {
        EXPECT_EQ(library->signs(file_), expected_) << "allocation " << n;
      }
    }
  };
  inChild(body, "loading");
}

// A thread of the host signs and then waits until it is told to end.
class WaitingThread final {
 public:
  explicit WaitingThread(const LoadedLibrary& library) {
    std::promise<int> code;
    thread_ = std::thread([&library, &code, this] {
      code.set_value(library.sign());
      end_.get_future().wait();
    });
    EXPECT_EQ(code.get_future().get(), 0);
  }
  void finish() {
    end_.set_value();
    thread_.join();
  }

 private:
  std::promise<void> end_;
  std::thread thread_;
};

TEST_F(HostProcess, UnloadItBeforeAThreadThatSignedEnds) {
  prepare();
  const auto body = [&] {
    auto library = std::make_unique<LoadedLibrary>();
    EXPECT_EQ(library->initialise(file_), 0);
    WaitingThread(*library).finish();
    WaitingThread thread(*library);
    library.reset();
    EXPECT_FALSE(LoadedLibrary::isLoaded());
    thread.finish();
  };
  inChild(body, "the thread's end");
}

// What was registered before the library was loaded runs after its objects are gone.
TEST_F(HostProcess, CallItAndEndThreadsInAnExitHandler) {
  prepare();
  static const std::string seenFile = directory_.path("seen");
  static std::unique_ptr<LoadedLibrary> library;
  static std::unique_ptr<WaitingThread> thread;
  const auto body = [&] {
    static_cast<void>(
        derOf(makeIdentity({}).certificate));  // so that the crypto library itself ends later than this handler
    std::atexit([] {
      thread->finish();
      const auto makePassword = library->find<decltype(MakeZEPASignPasswd)>("MakeZEPASignPasswd");
      std::string seen = std::to_string(library->sign()) + " " + std::to_string(makePassword("", nullptr, "", ""));
      for (const char* query : {"GetSignedPkcs7", "GetSignerCertB64", "GetSignerCertSubject", "GetErrorMsg"}) {
        seen += " " + library->text(query);
      }
      writeFile(seenFile, seen);
    });
    library = std::make_unique<LoadedLibrary>();
    EXPECT_EQ(library->signs(file_), expected_);
    thread = std::make_unique<WaitingThread>(*library);
  };
  inChild(body, "the exit handler");
  EXPECT_EQ(readFile(seenFile), "5002 5005    " + big5("配置記憶體發生錯誤(5002)"));
}

}  // namespace zepasign::testing
