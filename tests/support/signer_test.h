// The test fixture of the exports and of the classes behind them.
#ifndef ZEPASIGN_TESTS_SUPPORT_SIGNER_TEST_H_
#define ZEPASIGN_TESTS_SUPPORT_SIGNER_TEST_H_

#include <gtest/gtest.h>

#include "api/ZEPASignDLL.h"
#include "base/clog.h"
#include "demo/handles.h"
#include "pki/cpkcs12.h"
#include "pki/cx509.h"
#include "tests/support/files.h"
#include "tests/support/pki.h"

namespace zepasign::testing {

using Lines = std::vector<std::string>;

// SignerTest: the files to sign with, the log in their directory and the library's crypto context.
class SignerTest : public ::testing::Test {
 protected:
  SignerTest() {
    logger.setLogFile(directory.path().c_str(), "app.log");
    logger.writeText("DEBUG", "brings the pending lines into the file");
    taken();
  }
  // taken: removes the lines written since the last call and returns those that begin with `start`, without it, each
  // ended by "\n". Look-ups of properties are left out.
  std::string taken(const std::string& start = "") {
    std::string text;
    for (const std::string& line : readLog(directory.path())) {
      const bool lookUp = line.starts_with("DEBUG cProperty::getProperty");
      if (!lookUp && line.starts_with(start)) text += line.substr(start.size()) + "\n";
    }
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
      if (entry.path().stem() == "app.log") std::filesystem::remove(entry);
    }
    return text;
  }
  // gives: expects the code and, since the last look at the log, these ERROR lines.
  void gives(int returned, int code, const std::string& errors = "", int line = __builtin_LINE()) {
    EXPECT_EQ(returned, code) << "called in line " << line;
    EXPECT_EQ(taken("ERROR "), big5(errors)) << "called in line " << line;
  }
  bool initialise(const char* passwd = nullptr) { return ZEPASignInitial(fixture.propertyFile().c_str(), passwd); }
  static int sign(std::string content) {
    return SignPkcs7Bin(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  }
  static std::string signature() { return base64Decode(GetSignedPkcs7()); }
  int load(cPkcs12& credential, const PfxPlan& plan) const {
    directory.write("signer.pfx", makePfx(plan));
    return credential.loadPfxFile(directory.path().c_str(), "signer.pfx", "pfx-password");
  }
  Fixture fixture{};
  const TempDirectory& directory = fixture.directory;
  CryptoScope scope = {};
};

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_SIGNER_TEST_H_
