// zepasign stamp, sign --tsa, and what verify and show say of time stamps, with an authority on the loopback.
#include <cstdio>
#include <memory>

#include "demo/handles.h"
#include "tests/support/pki.h"
#include "tests/support/tool_test.h"

namespace zepasign::testing {
namespace {

// TimeStampTest: an authority "Clock" below "Clock CA", an expired one, and a signature over "content" in a.p7s.b64.
class TimeStampTest : public ToolTest {
 protected:
  TimeStampTest() {
    writeIdentity("tsa", timeStamping("20991231235959Z"));
    writeIdentity("old", timeStamping("20210101000000Z"));
    CertPlan server = signerPlan(ca_);
    server.key = newEcKey();
    server.otherExtensions = {{"subjectAltName", "IP:127.0.0.1"}};
    writeIdentity("server", server);
    folder_.write("clock.pem", pemOf("CERTIFICATE", derOf(ca_.certificate)));
    folder_.write("a", "content");
    EXPECT_EQ(0, run("sign a -c " + quiet_).exitCode);
    const std::string python = "python3 '" ZEPASIGN_AUTHORITY "' '" + folder_.path() + "'";
    server_ = popen(python.c_str(), "w");
    for (int i = 0; i < 300 && !std::filesystem::exists(folder_.path("urls")); ++i) {
      EXPECT_EQ(0, runCommand("sleep 0.1").exitCode);
    }
    const std::string urls = readFile(folder_.path("urls"));
    http_ = urls.substr(0, urls.find('\n'));
    https_ = urls.substr(http_.size() + 1, urls.size() - http_.size() - 2);
  }
  ~TimeStampTest() override { pclose(server_); }

  CertPlan timeStamping(const std::string& notAfter) const {
    CertPlan plan = signerPlan(ca_);
    plan.key = newEcKey();
    plan.subject = {{"CN", "Clock"}};
    plan.notAfter = notAfter;
    plan.otherExtensions = {{"extendedKeyUsage", "critical,timeStamping"}};
    return plan;
  }
  void writeIdentity(const std::string& name, const CertPlan& plan) const {
    const Identity identity = makeIdentity(plan);
    folder_.write(name + ".crt", pemOf("CERTIFICATE", derOf(identity.certificate)));
    folder_.write(name + ".key", pemOf("EC PRIVATE KEY", encode<i2d_PrivateKey>(identity.key.get())));
  }

  // stamp: by the authority that answers in this way.
  CommandResult stamp(const std::string& how, const std::string& arguments = "a.p7s.b64 --tsa-ca clock.pem") const {
    return run("stamp --tsa " + http_ + "/" + how + " --timeout 2 --retries 0 " + arguments, kDirect);
  }
  std::string bytes(const std::string& name = "a.p7s.b64") const { return readFile(folder_.path(name)); }
  Json timeStamps() const { return json("show a.p7s.b64")[0]["signers"][0]["timeStamps"]; }

  static constexpr const char* kDirect = "no_proxy=127.0.0.1,localhost LC_ALL=C";
  Identity ca_ = makeIdentity(caPlan("Clock CA"));
  std::FILE* server_ = nullptr;
  std::string http_;
  std::string https_;
};

TEST_F(TimeStampTest, OtherProgramsAcceptWhatIsStamped) {
  EXPECT_EQ(
      0,
      run("sign --der -o a.der a -c " + quiet_ + " && " ZEPASIGN_TOOL " sign --pem -o a.pem a -c " + quiet_).exitCode);
  const std::string before = bytes("a.pem");
  EXPECT_EQ("zepasign: 3 stamped, 0 skipped, 0 failed\n", stamp("good", "a.der a.pem a.p7s.b64").output);
  EXPECT_EQ(bytes("a.pem").substr(0, 50), before.substr(0, 22) + bytes("a.pem").substr(22, 28)) << "the boundary stays";
  EXPECT_EQ('\n', bytes("a.pem")[86]) << "lines of 64 characters behind a boundary of 22";
  for (const char* file : {"a.pem -inform PEM", "a.der -inform DER"}) {
    const std::string arguments = std::string(" -verify -purpose any -CAfile demo/ca.pem -in ") + file;
    EXPECT_EQ(0, runCommand("cd " + folder_.path() + " && openssl cms" + arguments).exitCode) << file;
    EXPECT_EQ(0, runCommand("cd " + folder_.path() + " && openssl smime" + arguments).exitCode) << file;
  }
}

TEST_F(TimeStampTest, ABadAnswerLeavesTheSignatureAsItWas) {
  struct Case {
    const char* how;
    const char* message;
  };
  const std::string before = bytes();
  for (const auto& [how, message] :
       {Case{"nonce", "answers another query"}, Case{"imprint", "covers something else"},
        Case{"refusal", "the authority refuses: status code: rejection"}, Case{"expired", "certificate has expired"},
        Case{"damaged", "was changed"}, Case{"cut", "closed the connection"},
        Case{"garbage", "no reply of a time-stamping"}, Case{"page", "another content type"},
        Case{"missing", "HTTP status 404"}, Case{"busy", "HTTP status 503"}, Case{"redirect", "redirects"},
        Case{"long", "too long"}, Case{"endless", "too long"}, Case{"slow", "no answer within 2 seconds"},
        Case{"close", "closed the connection"}}) {
    const CommandResult result = stamp(how);
    EXPECT_EQ(1, result.exitCode) << how;
    EXPECT_NE(std::string::npos, result.output.find(message)) << how << ": " << result.output;
    EXPECT_EQ(before, bytes()) << how;
  }
  EXPECT_NE(std::string::npos, stamp("good", "a.p7s.b64 --tsa-ca demo/ca.pem").output.find("no path to a trusted"));
  EXPECT_NE(std::string::npos,
            run("stamp --tsa http://127.0.0.1:1 --retries 0 a.p7s.b64", kDirect).output.find("refused"));
  EXPECT_EQ(before, bytes());
  EXPECT_EQ(0, run("stamp a.p7s.b64 --retries 1 --tsa " + http_ + "/busy", kDirect).exitCode)
      << "the second failure, then an answer";
}

TEST_F(TimeStampTest, HttpsServersMustBeTrusted) {
  const std::string command = "stamp a.p7s.b64 --retries 0 --tsa " + https_ + "/good";
  EXPECT_NE(std::string::npos, run(command, kDirect).output.find("certificate verify failed"));
  EXPECT_EQ(1, run(command + " --tls-ca demo/ca.pem", kDirect).exitCode);
  EXPECT_EQ(1, run("stamp a.p7s.b64 --retries 0 --tls-ca clock.pem --tsa https://localhost" +
                       https_.substr(https_.rfind(':')) + "/good",
                   kDirect)
                   .exitCode)
      << "the certificate names another host";
  EXPECT_EQ(0, run(command + " --tls-ca clock.pem", kDirect).exitCode);
  EXPECT_EQ(0, run("stamp a.p7s.b64 --tsa http://clock.invalid/good", "http_proxy=" + http_ + " LC_ALL=C").exitCode);
}

TEST_F(TimeStampTest, ManySignaturesAreStampedAndOneFailureStopsNone) {
  for (const char* name : {"x/1", "x/y/2", "x/y/3"}) {
    std::filesystem::create_directories(folder_.path("x/y"));
    folder_.write(name, name);
  }
  EXPECT_EQ(0, run("sign --recursive x -c " + quiet_).exitCode);
  folder_.write("x/4.p7s", "no signature");
  EXPECT_NE(std::string::npos, stamp("good", "--recursive --jobs 2 x").output.find("3 stamped, 0 skipped, 1 failed"));
  EXPECT_NE(std::string::npos, stamp("good", "--resume --recursive --jobs 2 x").output.find("0 stamped, 3 skipped"));
  EXPECT_NE(std::string::npos, stamp("good", "--resume --warn-days 36500 --recursive x").output.find("3 stamped"));
  const CommandResult lines = stamp("good", "--resume --json-lines a.p7s.b64 x/4.p7s");
  EXPECT_NE(std::string::npos, lines.output.find("\"code\":5042")) << lines.output;
  EXPECT_NE(std::string::npos, lines.output.find("\"stamped\":1")) << lines.output;
}

TEST_F(TimeStampTest, WithoutNetworkAQueryGoesOutAndAReplyComesBack) {
  const std::string ask = "openssl ts -reply -config config -queryfile q -out r && ";
  EXPECT_EQ(1, stamp("refusal", "a.p7s.b64").exitCode) << "leaves the configuration of openssl behind";
  EXPECT_EQ(0, runCommand("sed -i s/sha512/sha256/ " + folder_.path("config")).exitCode);
  EXPECT_EQ(0, run("stamp --query-out q a.p7s.b64").exitCode);
  EXPECT_EQ(0, run("stamp --reply r --tsa-ca clock.pem a.p7s.b64", ask + "LC_ALL=C").exitCode);
  EXPECT_EQ(
      0, runCommand("cd " + folder_.path() + " && openssl ts -verify -in r -queryfile q -CAfile clock.pem").exitCode);
  EXPECT_EQ(1, run("stamp --reply r --tsa-ca clock.pem a.p7s.b64").exitCode) << "it is over the first value";
  EXPECT_EQ(2, run("stamp --query-out a.p7s.b64 a.p7s.b64").exitCode) << "the signature would be lost";
  EXPECT_EQ(2, run("stamp a.p7s.b64").exitCode);
}

TEST_F(TimeStampTest, SignStampsInOneStepOrNotAtAll) {
  folder_.write("b", "b");
  const std::string command = "sign b -c " + quiet_ + " --tsa-ca clock.pem --retries 0 --tsa " + http_;
  EXPECT_EQ(1, run(command + "/refusal", kDirect).exitCode);
  EXPECT_FALSE(std::filesystem::exists(folder_.path("b.p7s.b64")));
  EXPECT_EQ(0, run(command + "/good a --jobs 2", kDirect).exitCode);
  EXPECT_EQ("CN = Clock", json("show b.p7s.b64")[0]["signers"][0]["timeStamps"][0]["authority"]);
  EXPECT_NE(std::string::npos, run(command + "/good a --resume", kDirect).output.find("2 skipped"));
  EXPECT_EQ(2, run("sign b -c " + quiet_ + " --tsa-ca clock.pem").exitCode);
}

TEST_F(TimeStampTest, VerifySaysWhoseTimeCounts) {
  const auto source = [this](const std::string& arguments) {
    return json("verify a.p7s.b64 --ca demo/ca.pem " + arguments)[0]["signers"][0]["timeSource"];
  };
  EXPECT_EQ(1, run("verify a.p7s.b64 --tsa-ca clock.pem").exitCode) << "there is no time stamp yet";
  EXPECT_EQ(0, stamp("good").exitCode);
  EXPECT_EQ("nobody", source(""));
  EXPECT_EQ("user", source("--at 2099-01-01"));
  EXPECT_EQ("signer", source("--at signing")) << "nobody trusts the authority";
  EXPECT_EQ("authority", source("--at signing --tsa-ca clock.pem"));
  const Json signer = json("verify a.p7s.b64 --ca demo/ca.pem --at signing --tsa-ca clock.pem")[0]["signers"][0];
  EXPECT_EQ(signer["timeStamps"][0]["time"], signer["judgedAt"]);
  EXPECT_EQ(7, run("verify a.p7s.b64 --ca demo/ca.pem --tsa-ca demo/ca.pem").exitCode);
  EXPECT_EQ(5, run("verify a.p7s.b64 --tsa-ca clock.pem --ca demo/ca.pem --at 2100-01-01").exitCode);
  EXPECT_NE(std::string::npos, run("verify a.p7s.b64 --ca demo/ca.pem --at signing --tsa-ca clock.pem")
                                   .output.find("time source: the authority's: CN = Clock"));
}

TEST_F(TimeStampTest, ARenewedProofIsAChainOfTimeStamps) {
  EXPECT_EQ(0, run("sign --der -o a.der a -c " + quiet_).exitCode);
  EXPECT_EQ(0, stamp("good", "a.der").exitCode);
  EXPECT_EQ(0, stamp("good", "a.der --tsa-ca clock.pem").exitCode);
  EXPECT_EQ(2U, json("show a.der")[0]["signers"][0]["timeStamps"].size());
  EXPECT_EQ(0, run("verify a.der --ca demo/ca.pem --tsa-ca clock.pem --at signing").exitCode);
  const std::string parse = "openssl asn1parse -inform DER -in a.der -noout";
  const std::string lines = "$(openssl asn1parse -inform DER -in a.der | awk -F: ";
  EXPECT_EQ(0, runCommand("cd " + folder_.path() + " && " + parse + " -out token -strparse " + lines +
                          "'/timeStampToken/ {getline; getline; print $1 + 0; exit}') && " + parse +
                          " -out value -strparse " + lines +
                          "'/OCTET STRING/ {at = $1} /timeStampToken/ {print at + 0; exit}') && " +
                          "openssl ts -verify -token_in -in token -data value -CAfile clock.pem")
                   .exitCode);
  std::string damaged = bytes("a.der");
  damaged.back() ^= 1;
  folder_.write("damaged.der", damaged);
  EXPECT_EQ(4, run("verify damaged.der").exitCode) << "the last byte is that of the last token's signature";
  EXPECT_EQ(1, stamp("good", "damaged.der").exitCode);
}

TEST_F(TimeStampTest, VerifyNamesProofsThatEndSoon) {
  std::filesystem::create_directory(folder_.path("archive"));
  std::filesystem::copy(folder_.path("a.p7s.b64"), folder_.path("archive/b.p7s.b64"));
  const std::string command = "verify --recursive archive --warn-days 1000 --strict";
  EXPECT_EQ(1, run(command).exitCode);
  EXPECT_EQ(json("show a.p7s.b64")[0]["certificates"][0]["notAfter"], json(command)[0]["proofEnds"]);
  EXPECT_EQ(0, stamp("good", "archive/b.p7s.b64").exitCode);
  EXPECT_EQ(0, run(command).exitCode);
  EXPECT_EQ(Json::array(), json(command)) << "the authority's certificate lasts longer";
  EXPECT_EQ("2099-12-31T23:59:59Z", json("verify --recursive archive")[0]["proofEnds"]);
}

}  // namespace
}  // namespace zepasign::testing
