// The DLL as a host has it: loaded, called by name and unloaded. What stays behind would crash the host later, at the
// latest when the test's own process ends.
#include <gtest/gtest.h>
#include <windows.h>
#include <future>
#include <thread>

#include "tests/support/pki.h"

namespace zepasign {
namespace {

// call: a function of a loaded library; on x86-64 all have the same calling convention.
template <class Result, class... Arguments>
Result call(HMODULE module, const char* name, Arguments... arguments) {
  void* const function = reinterpret_cast<void*>(GetProcAddress(module, name));
  if (function == nullptr) throw std::runtime_error(std::string("no export ") + name);
  return reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...);
}

// Library: loaded during the scope.
class Library final {
 public:
  Library() : module_(LoadLibraryA(ZEPASIGN_LIBRARY)) {}
  ~Library() {
    FreeLibrary(module_);
    EXPECT_EQ(GetModuleHandleA("ZEPASignDLL.dll"), nullptr);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  bool initialise(const std::string& propertyFile) const {
    return call<bool, const char*, const char*>(module_, "ZEPASignInitial", propertyFile.c_str(), nullptr);
  }
  std::string sign() const {
    const int code = call<int, const char*, const char*>(module_, "SignPkcs7", "\xB3\x5C\xA5\x5C", "UTF-16LE");
    return code == 0 ? call<char*>(module_, "GetSignedPkcs7") : std::to_string(code);
  }

 private:
  HMODULE module_;
};

TEST(LibraryWindows, LoadsSignsAndUnloadsAgainAndAgain) {
  const testing::Fixture fixture;
  std::string before;
  for (int i = 0; i < 3; ++i) {
    const Library library;
    EXPECT_EQ(library.sign(), "5010") << "the signer is not as new";
    EXPECT_TRUE(library.initialise(fixture.propertyFile()));
    const std::string signature = library.sign();
    EXPECT_GT(signature.size(), 1000U) << signature;
    EXPECT_TRUE(before.empty() || signature == before);
    before = signature;
  }
}

TEST(LibraryWindows, OutlivesAndIsOutlivedByItsCallersThreads) {
  const testing::Fixture fixture;
  std::promise<void> unloaded;
  std::future<std::string> signature;
  std::thread longLived;
  {
    const Library library;
    EXPECT_TRUE(library.initialise(fixture.propertyFile()));
    std::thread([&] { EXPECT_GT(library.sign().size(), 1000U); }).join();
    std::promise<std::string> made;
    signature = made.get_future();
    longLived = std::thread([&, wait = unloaded.get_future(), result = std::move(made)]() mutable {
      result.set_value(library.sign());
      wait.wait();
    });
    const std::string theirs = signature.get();  // first, since one thread at a time may call
    EXPECT_EQ(theirs, library.sign());
  }
  unloaded.set_value();
  longLived.join();
}

TEST(LibraryWindows, PrintsPendingLogTextWhenUnloaded) {
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(Library().initialise("none.properties"));
  EXPECT_NE(::testing::internal::GetCapturedStdout().find("none.properties"), std::string::npos);
}

}  // namespace
}  // namespace zepasign
