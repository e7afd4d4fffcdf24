// The library as a host application meets it: loaded at run time from the built file, called through its exports. A
// program that includes this does not link the library's objects.
#ifndef ZEPASIGN_TESTS_SUPPORT_LOADED_LIBRARY_POSIX_H_
#define ZEPASIGN_TESTS_SUPPORT_LOADED_LIBRARY_POSIX_H_

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <functional>

#include "api/ZEPASignDLL.h"
#include "tests/support/pki.h"

namespace zepasign::testing {

// LoadedLibrary: the library, loaded and unloaded with the scope.
class LoadedLibrary final {
 public:
  LoadedLibrary();
  ~LoadedLibrary() { dlclose(handle_); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  // isLoaded: whether the process holds the library at all.
  [[nodiscard]] static bool isLoaded();

  // find: the export of that name, as in find<decltype(GetErrorCode)>("GetErrorCode").
  template <class Function>
  [[nodiscard]] Function* find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }
  // initialise, sign: return the call's code; `sign` signs the bytes of the text.
  [[nodiscard]] int initialise(const std::string& file, const char* password = nullptr) const;
  [[nodiscard]] int sign(std::string text = "content") const;
  // text: what a query without parameters returns; empty for a null pointer.
  [[nodiscard]] std::string text(const char* function = "GetSignedPkcs7") const;
  // signs: the signature when initialisation and signing both succeed, else an empty string.
  [[nodiscard]] std::string signs(const std::string& file) const;

 private:
  void* handle_;
};

// inChild: calls `body` in a forked process, which must end by itself within two minutes and without a failed
// expectation. Returns whether it did.
bool inChild(const std::function<void()>& body, const std::string& what);

// HostProcess: a property file with which the library signs, and the signature it then makes of "content". Both are
// made in another process, so that this one's crypto library and memory are untouched. All signatures are the same,
// since they hold no signing time.
class HostProcess : public ::testing::Test {
 protected:
  void prepare(const std::function<void(Fixture&)>& change = [](Fixture&) {});

  TempDirectory directory_ = {};
  std::string file_, expected_;
};

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_LOADED_LIBRARY_POSIX_H_
