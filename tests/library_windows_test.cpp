// The DLL as a host has it: loaded, called by name and unloaded. What stays behind would crash the host later, at the
// latest when the test's own process ends.
#include <gtest/gtest.h>
#include <windows.h>

#include <future>
#include <thread>

#include "tests/support/signer_stage.h"

namespace zepasign {
namespace {

// Names: under which a host looks for the two functions.
struct Names {
  const char* initial;
  const char* sign;
};
constexpr Names kPlain = {"ZEPASignInitial", "SignPkcs7"};
constexpr Names kDecorated = {"?ZEPASignInitial@@YA_NPEBD0@Z", "?SignPkcs7@@YAHPEBD0@Z"};

// Library: loaded during the scope.
class Library final {
 public:
  explicit Library(const Names& names = kPlain) : module_(LoadLibraryA(ZEPASIGN_LIBRARY)), names_(names) {}
  ~Library() {
    FreeLibrary(module_);
    EXPECT_EQ(GetModuleHandleA("ZEPASignDLL.dll"), nullptr);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <class Result, class... Arguments>
  Result call(const char* name, Arguments... arguments) const {
    void* const function = reinterpret_cast<void*>(GetProcAddress(module_, name));
    if (function == nullptr) throw std::runtime_error(std::string("no export ") + name);
    return reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...);
  }

  bool initialise(const std::string& propertyFile) const {
    return call<bool, const char*, const char*>(names_.initial, propertyFile.c_str(), nullptr);
  }
  std::string sign() const {
    const int code = call<int, const char*, const char*>(names_.sign, "\xB3\x5C\xA5\x5C", "UTF-16LE");
    return code == 0 ? call<char*>("GetSignedPkcs7") : std::to_string(code);
  }

 private:
  HMODULE module_;
  Names names_;
};

TEST(LibraryWindows, LoadsSignsAndUnloadsAgainAndAgain) {
  const testing::SignerStage stage;
  std::string before;
  for (const Names& names : {kPlain, kDecorated, kPlain}) {
    const Library library(names);
    EXPECT_EQ(library.sign(), "5010") << "the signer is not as new";
    EXPECT_TRUE(library.initialise(stage.propertyFile()));
    const std::string signature = library.sign();
    EXPECT_GT(signature.size(), 1000U) << signature;
    EXPECT_TRUE(before.empty() || signature == before);
    before = signature;
  }
}

TEST(LibraryWindows, OutlivesAndIsOutlivedByItsCallersThreads) {
  const testing::SignerStage stage;
  std::promise<void> unloaded;
  std::future<std::string> signature;
  std::thread longLived;
  {
    const Library library;
    EXPECT_TRUE(library.initialise(stage.propertyFile()));
    std::thread([&] { EXPECT_GT(library.sign().size(), 1000U); }).join();
    std::promise<std::string> made;
    signature = made.get_future();
    longLived = std::thread([&, wait = unloaded.get_future(), result = std::move(made)]() mutable {
      result.set_value(library.sign());
      wait.wait();
    });
    EXPECT_EQ(signature.get(), library.sign());
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
