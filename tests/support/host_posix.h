// A host as users write them: it knows the library only as the built file, and does its deeds in processes of their
// own.
#ifndef ZEPASIGN_TESTS_SUPPORT_HOST_POSIX_H_
#define ZEPASIGN_TESTS_SUPPORT_HOST_POSIX_H_

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "api/ZEPASignDLL.h"
#include "tests/support/signer_stage.h"

namespace zepasign::testing {

// liveBlocks: how many blocks of memory this process holds, those of all libraries included.
[[nodiscard]] long liveBlocks();

// Library: the library, loaded and unloaded with the scope.
class Library final {
 public:
  Library() : handle_(dlopen(ZEPASIGN_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  ~Library() { dlclose(handle_); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <class Function>
  [[nodiscard]] Function* find(Function* /*like*/, const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }
  [[nodiscard]] int initialise(const std::string& file, const char* password = nullptr) const {
    const bool done = find(ZEPASignInitial, "ZEPASignInitial")(file.c_str(), password);
    return done ? 0 : find(GetErrorCode, "GetErrorCode")();
  }
  [[nodiscard]] int sign(std::string text = "content") const {
    const auto size = static_cast<int>(text.size());
    return find(SignPkcs7Bin, "SignPkcs7Bin")(reinterpret_cast<unsigned char*>(text.data()), size);
  }
  [[nodiscard]] std::string text(const char* function = "GetSignedPkcs7") const {
    const char* text = find(GetSignedPkcs7, function)();
    return text == nullptr ? "" : text;
  }
  // signs: the signature when both steps succeed, else "".
  [[nodiscard]] std::string signs(const std::string& file) const {
    return initialise(file) == 0 && sign() == 0 ? text() : "";
  }

 private:
  void* handle_;
};

// inChild: does the deed in a forked process, which must end by itself within the time and without a failed
// expectation. Returns whether it did.
template <class Deed>
bool inChild(Deed deed, const std::string& what) {
  static const ::testing::TestInfo* const test = ::testing::UnitTest::GetInstance()->current_test_info();
  std::fflush(nullptr);
  const int failuresBefore = test->result()->total_part_count();
  const pid_t child = fork();
  if (child == 0) {
    alarm(120);
    deed();
    std::exit(test->result()->total_part_count() > failuresBefore ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << what << (WIFSIGNALED(status) ? ": ended by a signal" : "");
  return status == 0;
}

// Hosts: a property file with which the library signs; made in another process, so that this one's crypto library and
// memory are untouched. All signatures are the same, since they tell no time.
class Hosts : public ::testing::Test {
 protected:
  template <class Change>
  void prepare(Change change) {
    ASSERT_TRUE(inChild(
        [&] {
          SignerStage stage;
          stage.properties["LOG.path"] = stage.properties["PFX.path"] = folder_.path();
          folder_.write("signer.pfx", readFile(stage.folder.path("signer.pfx")));
          change(stage);
          file_ = folder_.write("app.properties", propertyText(stage.properties));
          folder_.write("expected", Library().signs(file_));
        },
        "the stage"));
    file_ = folder_.path("app.properties");
    expected_ = readFile(folder_.path("expected"));
    ASSERT_NE(expected_, "");
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      if (entry.path().string().find("log.") != std::string::npos) std::filesystem::remove(entry);
    }
  }
  void prepare() {
    prepare([](SignerStage&) {});
  }

  TempFolder folder_ = {};
  std::string file_, expected_;
};

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_HOST_POSIX_H_
