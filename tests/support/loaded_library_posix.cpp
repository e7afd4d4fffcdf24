#include "tests/support/loaded_library_posix.h"

#include <sys/wait.h>
#include <unistd.h>

namespace zepasign::testing {

LoadedLibrary::LoadedLibrary() : handle_(dlopen(ZEPASIGN_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw std::runtime_error(dlerror());
}

bool LoadedLibrary::isLoaded() { return dlopen(ZEPASIGN_LIBRARY, RTLD_NOW | RTLD_NOLOAD) != nullptr; }

int LoadedLibrary::initialise(const std::string& file, const char* password) const {
  const bool succeeded = find<decltype(ZEPASignInitial)>("ZEPASignInitial")(file.c_str(), password);
  return succeeded ? 0 : find<decltype(GetErrorCode)>("GetErrorCode")();
}

int LoadedLibrary::sign(std::string text) const {
  auto* bytes = reinterpret_cast<unsigned char*>(text.data());
  return find<decltype(SignPkcs7Bin)>("SignPkcs7Bin")(bytes, static_cast<int>(text.size()));
}

std::string LoadedLibrary::text(const char* function) const {
  const char* text = find<decltype(GetSignedPkcs7)>(function)();
  return text == nullptr ? "" : text;
}

std::string LoadedLibrary::signs(const std::string& file) const {
  return initialise(file) == 0 && sign() == 0 ? text() : "";
}

bool inChild(const std::function<void()>& body, const std::string& what) {
  static const ::testing::TestInfo* const test = ::testing::UnitTest::GetInstance()->current_test_info();
  std::fflush(nullptr);
  const int failuresBefore = test->result()->total_part_count();
  const pid_t child = fork();
  if (child == 0) {
    alarm(120);
    try {
      body();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    std::exit(test->result()->total_part_count() > failuresBefore ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << what << (WIFSIGNALED(status) ? ": ended by a signal" : "");
  return status == 0;
}

void HostProcess::prepare(const std::function<void(Fixture&)>& change) {
  const auto make = [&] {
    Fixture fixture;
    fixture.properties["LOG.path"] = fixture.properties["PFX.path"] = directory_.path();
    directory_.write("signer.pfx", readFile(fixture.directory.path("signer.pfx")));
    change(fixture);
    file_ = directory_.write("app.properties", propertyText(fixture.properties));
    directory_.write("expected", LoadedLibrary().signs(file_));
  };
  ASSERT_TRUE(inChild(make, "the fixture"));
  file_ = directory_.path("app.properties");
  expected_ = readFile(directory_.path("expected"));
  ASSERT_NE(expected_, "");
  for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
    if (entry.path().string().find("log.") != std::string::npos) std::filesystem::remove(entry);
  }
}

}  // namespace zepasign::testing
