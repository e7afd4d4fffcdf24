// An authority on the loopback, and what it is asked to stamp; POSIX only.
#ifndef ZEPASIGN_TESTS_SUPPORT_TIMESTAMP_TEST_H_
#define ZEPASIGN_TESTS_SUPPORT_TIMESTAMP_TEST_H_

#include <cstdio>

#include "demo/handles.h"
#include "tests/support/pki.h"
#include "tests/support/tool_test.h"

namespace zepasign::testing {

// TimeStampTest: an authority "Clock" below "Clock CA", an expired one, and a signature over "content" in a.p7s.b64.
class TimeStampTest : public ToolTest {
 protected:
  TimeStampTest() {
    writeIdentity("tsa", timeStamping("20991231235959Z"));
    writeIdentity("old", timeStamping("20210101000000Z", "59"));
    writeIdentity("other", timeStamping("20991231235959Z", "5B", "Other clock"));
    CertPlan server = signerPlan(ca_, newEcKey());
    server.otherExtensions = {{"subjectAltName", "IP:127.0.0.1,DNS:clock.invalid"}};
    writeIdentity("server", server);
    directory_.write("clock.pem", pemOf("CERTIFICATE", derOf(ca_.certificate)));
    directory_.write("a", "content");
    EXPECT_EQ(0, run("sign a -c " + quiet_).exitCode);
    const std::string python = "python3 '" ZEPASIGN_AUTHORITY "' '" + directory_.path() + "'";
    server_ = popen(python.c_str(), "w");  // NOLINT(cert-env33-c): tests choose the text
    for (int i = 0; i < 300 && !std::filesystem::exists(directory_.path("urls")); ++i) {
      EXPECT_EQ(0, runCommand("sleep 0.1").exitCode);
    }
    const std::string urls = readFile(directory_.path("urls"));
    http_ = urls.substr(0, urls.find('\n'));
    https_ = urls.substr(http_.size() + 1, urls.size() - http_.size() - 2);
  }
  ~TimeStampTest() override { pclose(server_); }

  CertPlan timeStamping(const std::string& notAfter, const std::string& serial = "5A",
                        const std::string& name = "Clock") const {
    CertPlan plan = signerPlan(ca_, newEcKey());
    plan.serial = serial;
    plan.subject = {{"CN", name}};
    plan.notAfter = notAfter;
    plan.otherExtensions = {{"extendedKeyUsage", "critical,timeStamping"}};
    return plan;
  }
  void writeIdentity(const std::string& name, const CertPlan& plan) const {
    const Identity identity = makeIdentity(plan);
    directory_.write(name + ".crt", pemOf("CERTIFICATE", derOf(identity.certificate)));
    directory_.write(name + ".key", pemOf("EC PRIVATE KEY", encode<i2d_PrivateKey>(identity.key.get())));
  }

  // stamp: by the authority that answers in this way.
  CommandResult stamp(const std::string& how, const std::string& arguments = "a.p7s.b64 --tsa-ca clock.pem") const {
    const std::string timeout = how == "slow" || how == "drip" ? "2" : "60";
    return run("stamp --tsa " + http_ + "/" + how + " --timeout " + timeout + " --retries 0 " + arguments, kDirect);
  }
  std::string bytes(const std::string& name = "a.p7s.b64") const { return readFile(directory_.path(name)); }

  static constexpr const char* kDirect = "no_proxy=127.0.0.1,localhost LC_ALL=C";
  Identity ca_ = makeIdentity(caPlan("Clock CA"));
  std::FILE* server_ = nullptr;
  std::string http_;
  std::string https_;
};

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_TIMESTAMP_TEST_H_
