#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "tests/support/command.h"

namespace zepasign::testing {

TEST(Exports, AreTheSeventeenFunctionsUnderBothNamesAndNothingElse) {
  std::istringstream signatures(
      "GetPkiVersion();GetErrorCode();GetErrorMsg();ZEPASignInitial(char const*, char const*);SignPkcs7File(char "
      "const*);"
      "MakeZEPASignPasswd(char const*, int*, char const*, char const*);SignPkcs7(char const*, char const*);"
      "SignPkcs7Bin(unsigned char*, int);GetSignedPkcs7();GetSignerCertB64();GetSignerCertSubjectCN();"
      "GetSignerCertSubject();GetSignerCertIssuer();GetSignerCertNotBefore();GetSignerCertNotAfter();"
      "GetSignerCertSerial();GetSignerCertFinger()");
  std::set<std::string> expected, found;
  for (std::string each; std::getline(signatures, each, ';');) expected.insert({each, each.substr(0, each.find('('))});
  void* library = dlopen(ZEPASIGN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  std::istringstream listing(runCommand("nm -D --defined-only --format=posix '" ZEPASIGN_LIBRARY "'").output);
  for (std::string line; std::getline(listing, line);) {
    const std::string name = line.substr(0, line.find(' '));
    char* const demangled = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr);
    const std::string signature = demangled == nullptr ? name : demangled,
                      plain = signature.substr(0, signature.find('('));
    std::free(demangled);
    found.insert(signature);
    EXPECT_EQ(dlsym(library, name.c_str()), dlsym(library, plain.c_str())) << name;
  }
  EXPECT_EQ(found, expected);
  EXPECT_EQ(dlclose(library), 0);
}

}  // namespace zepasign::testing
