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
    writeIdentity("old", timeStamping("20210101000000Z", "59"));
    writeIdentity("other", timeStamping("20991231235959Z", "5B"));
    CertPlan server = signerPlan(ca_);
    server.key = newEcKey();
    server.otherExtensions = {{"subjectAltName", "IP:127.0.0.1,DNS:clock.invalid"}};
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

  CertPlan timeStamping(const std::string& notAfter, const std::string& serial = "5A") const {
    CertPlan plan = signerPlan(ca_);
    plan.serial = serial;
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
    const std::string timeout = how == "slow" || how == "drip" ? "2" : "60";
    return run("stamp --tsa " + http_ + "/" + how + " --timeout " + timeout + " --retries 0 " + arguments, kDirect);
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
        Case{"purpose", "not made for time stamps"}, Case{"backdated", "not valid at the time in the time stamp"},
        Case{"drip", "no answer within 2 seconds"}, Case{"damaged", "was changed"},
        Case{"cut", "closed the connection"}, Case{"garbage", "no reply of a time-stamping"},
        Case{"page", "another content type"}, Case{"missing", "HTTP status 404"}, Case{"busy", "HTTP status 503"},
        Case{"redirect", "redirects"}, Case{"long", "too long"}, Case{"endless", "too long"},
        Case{"slow", "no answer within 2 seconds"}, Case{"close", "closed the connection"}}) {
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
  EXPECT_EQ(0, run(command + " --tls-ca server.crt", kDirect).exitCode) << "a certificate that is no root";
  EXPECT_NE(std::string::npos, run("stamp a.p7s.b64 --tls-ca clock.pem --retries 0 --tsa " + https_ + "/close", kDirect)
                                   .output.find("closed the connection"));
}

TEST_F(TimeStampTest, TheEnvironmentNamesAProxy) {
  const std::string proxy = "no_proxy=127.0.0.1 http_proxy=" + http_ + " https_proxy=" + http_ + " LC_ALL=C";
  const std::string command = "stamp a.p7s.b64 --tls-ca clock.pem --retries 0 --tsa ";
  EXPECT_EQ(0, run(command + "http://clock.invalid/good", proxy).exitCode);
  EXPECT_EQ(0, run(command + "https://clock.invalid/good", proxy).exitCode);
  EXPECT_NE(std::string::npos, run(command + "https://other.invalid/good", proxy).output.find("verify failed"));
  EXPECT_NE(std::string::npos,
            run(command + "https://refused.invalid/good", proxy).output.find("the proxy answers with HTTP status 407"));
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

TEST_F(TimeStampTest, AnInterruptionLosesNothing) {
  std::filesystem::create_directory(folder_.path("many"));
  for (int i = 0; i < 8; ++i) folder_.write("many/" + std::to_string(i), "content");
  EXPECT_EQ(0, run("sign --recursive many -c " + quiet_).exitCode);
  EXPECT_EQ(0, runCommand("cp -r " + folder_.path("many") + " " + folder_.path("before")).exitCode);
  // The authority answers twice; then each of the two workers waits.
  const CommandResult stopped =
      runCommand("cd '" + folder_.path() + "'; " + kDirect +
                 " env --default-signal=INT " ZEPASIGN_TOOL " stamp --recursive many --jobs 2 --tsa " + http_ +
                 "/held & run=$!; until [ -e held3 ]; do sleep 0.02; done; kill -INT $run; wait $run");
  EXPECT_EQ(130, stopped.exitCode);
  EXPECT_NE(std::string::npos, stopped.output.find("interrupted: 2 stamped, 0 skipped, 2 failed")) << stopped.output;
  EXPECT_EQ(0, runCommand("cd '" + folder_.path() + "' && test $(diff -rq many before | grep -c differ) = 2").exitCode);
  EXPECT_EQ(0, runCommand("cd '" + folder_.path() + "' && test $(ls many | wc -l) = 16").exitCode);
  EXPECT_EQ(2, json("stamp --resume --recursive many --retries 0 --tsa http://127.0.0.1:1")["skipped"]);
}

TEST_F(TimeStampTest, TheFormOfASignatureStays) {
  EXPECT_EQ(0, runCommand("cd '" + folder_.path() + "' && tr -d '\n' <a.p7s.b64 >line").exitCode);
  for (const std::string form :
       {"cat", "fold -w 60", "{ cat; printf '\r\n'; }", "{ printf '\n'; fold -w 76; printf '\n\n'; }",
        "{ fold -w 76 | sed 's/$/\r/'; printf '\n'; }",
        "{ printf 'Text\r\n-----BEGIN CMS-----\r\n'; fold -w 64 | sed 's/$/\r/'; printf '\n-----END CMS-----'; }"}) {
    EXPECT_EQ(0, runCommand("cd '" + folder_.path() + "' && " + form + " <line >form").exitCode) << form;
    EXPECT_EQ(0, stamp("good", "form").exitCode) << form;
    EXPECT_EQ(0, runCommand("cd '" + folder_.path() + "' && sed '/Text/d;/---/d' form | base64 -di | base64 -w 0 | " +
                            form + " | cmp - form")
                     .exitCode)
        << form;
  }
}

TEST_F(TimeStampTest, ASignatureThatCannotTakeATimeStampStaysAsItIs) {
  const std::string sign = "cd '" + folder_.path() + "' && openssl smime -sign -nodetach -in a -outform DER ";
  EXPECT_EQ(0, runCommand(sign + "-signer tsa.crt -inkey tsa.key -signer old.crt -inkey old.key -out two").exitCode);
  EXPECT_EQ(0, runCommand(sign + "-signer tsa.crt -inkey tsa.key -indef -stream -out ber").exitCode);
  EXPECT_EQ(0, run("sign --der -o unread a -c " + quiet_).exitCode);
  EXPECT_EQ(0, stamp("good", "unread").exitCode);
  std::string unread = bytes("unread");
  unread[unread.rfind("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02") + 8] = 1;  // the token is of type data
  folder_.write("unread", unread);
  for (const auto& [file, message] : {std::pair{"two", "more than one signer"}, std::pair{"ber", "written back"},
                                      std::pair{"unread", "was changed, or is none"}}) {
    const std::string before = bytes(file);
    const CommandResult result = run(std::string("stamp --tsa http://127.0.0.1:1 --retries 0 ") + file, kDirect);
    EXPECT_NE(std::string::npos, result.output.find(message)) << "without a question: " << result.output;
    EXPECT_EQ(before, bytes(file)) << file;
  }
  EXPECT_EQ(4, run("verify unread").exitCode);
}

TEST_F(TimeStampTest, StandardStreamsCarrySignaturesAndQueries) {
  EXPECT_EQ(0, stamp("good", "--resume - <a.p7s.b64 >out").exitCode);
  EXPECT_EQ(0, run("verify out --tsa-ca clock.pem").exitCode) << "--resume reads nothing twice";
  EXPECT_EQ(0, run("stamp --query-out - a.p7s.b64 | openssl ts -query -in /dev/stdin -text").exitCode);
  EXPECT_EQ(2, run("stamp --query-out - --json a.p7s.b64").exitCode);
  EXPECT_EQ(1, run("stamp --reply /dev/zero a.p7s.b64").exitCode) << "it never ends";
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

TEST_F(TimeStampTest, ARevokedAuthorityProvesWhatAnotherOneHasConfirmedBefore) {
  const auto revoke = [this](const std::string& time) {
    folder_.write("clock.crl", makeCrl({.issuer = ca_, .serials = {"5A"}, .lastUpdate = time}));
  };
  folder_.write("clock.key", pemOf("EC PRIVATE KEY", encode<i2d_PrivateKey>(ca_.key.get())));
  folder_.write("ca.cnf", "[ca]\ndefault_ca=a\n[a]\ndatabase=index\ncertificate=clock.pem\nprivate_key=clock.key\n");
  const std::string trust = "verify a.p7s.b64 --ca demo/ca.pem --tsa-ca clock.pem --crl clock.crl --crl demo/ca.crl";
  EXPECT_EQ(0, stamp("good").exitCode);
  revoke("20200101000000Z");
  EXPECT_EQ(6, run(trust + " --at signing").exitCode);
  for (const auto& [reason, exitCode] : {std::pair{"superseded", 0}, std::pair{"keyCompromise", 6}}) {
    folder_.write("index", std::string("R\t991231235959Z\t491231235959Z,") + reason + "\t5A\tunknown\t/CN=Clock\n");
    const std::string makeCrl = "openssl ca -gencrl -config ca.cnf -md sha256 -crldays 9 -out clock.crl";
    EXPECT_EQ(0, runCommand("cd '" + folder_.path() + "' && " + makeCrl).exitCode);
    EXPECT_EQ(exitCode, run(trust + " --at signing").exitCode) << "after the time stamp was made: " << reason;
  }
  revoke("20200101000000Z");
  EXPECT_EQ(0, stamp("other").exitCode);
  EXPECT_EQ(6, run(trust + " --at signing").exitCode) << "it was revoked when the other one confirmed";
  revoke("20980101000000Z");
  const Json signer = json(trust + " --at 2099-01-01")[0]["signers"][0];
  EXPECT_EQ(true, signer["timeStamps"][0]["trusted"]) << "revoked later";
  EXPECT_EQ(true, signer["timeStamps"][1]["trusted"]);
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
