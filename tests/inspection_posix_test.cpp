// zepasign verify, show and init --pfx: what they say of signatures, files and a user's own PFX.
#include "tests/support/pki.h"
#include "tests/support/tool_test.h"

namespace zepasign::testing {
namespace {

// InspectionTest: a CA whose signer expired at the beginning of 2021, and a signature over "content" in a.p7s.b64.
class InspectionTest : public ToolTest {
 protected:
  InspectionTest() {
    CertPlan plan = signerPlan(ca_, newEcKey());
    plan.serial = "1234";
    plan.notAfter = "20210101000000Z";
    directory_.write("demo/signer.pfx", makePfx({.identity = makeIdentity(plan), .password = "demo-password"}));
    directory_.write("ca.pem", pemOf("CERTIFICATE", derOf(ca_.certificate)));
    directory_.write("a", "content");
    EXPECT_EQ(0, run("sign a -c " + changed("expired.properties", "PFX.signerFilter", "#PFX.signerFilter")).exitCode);
  }
  // crl: of the CA and with the signer revoked at that time.
  void writeCrl(const std::string& name, const std::string& revocation) const {
    directory_.write(name, makeCrl({.issuer = ca_, .serials = {"1234"}, .lastUpdate = revocation}));
  }
  int verify(const std::string& arguments) const { return run("verify a.p7s.b64 " + arguments).exitCode; }

  Identity ca_ = makeIdentity(caPlan("Inspection CA"));
};

TEST_F(InspectionTest, VerifyTellsExpiredRevokedUntrustedAndChangedApart) {
  writeCrl("early.crl", "20200301000000Z");
  writeCrl("late.crl", "20201201000000Z");
  EXPECT_EQ(0, verify("")) << "without --ca the chain is not judged";
  EXPECT_EQ(5, verify("--ca ca.pem"));
  EXPECT_EQ(5, verify("--ca ca.pem --at signing")) << "it was signed after the certificate had expired";
  EXPECT_EQ(0, verify("--ca ca.pem --at 2020-06-01"));
  EXPECT_EQ(5, verify("--ca ca.pem --at 2019-12-31T23:59:59Z")) << "not valid yet";
  EXPECT_EQ(6, verify("--ca ca.pem --at 2020-06-01 --crl early.crl"));
  EXPECT_EQ(0, verify("--ca ca.pem --at 2020-06-01 --crl late.crl")) << "revoked later";
  EXPECT_EQ(1, verify("--ca ca.pem --at 2020-06-01 --crl demo/ca.crl")) << "another CA's CRL says nothing";
  EXPECT_EQ(7, verify("--ca demo/ca.pem"));
  EXPECT_EQ(2, verify("--ca ca.pem --at 2020-02-30"));
  EXPECT_EQ(2, verify("--at signing")) << "there is nothing to judge without --ca";
  EXPECT_EQ("revoked", json("verify a.p7s.b64 --ca ca.pem --at 2020-06-01 --crl early.crl")[0]["result"]);
}

TEST_F(InspectionTest, VerifyWritesTheContentOfAValidSignatureOnly) {
  EXPECT_EQ("content", run("verify a.p7s.b64 -o -").output);
  EXPECT_EQ(0, verify("-o out"));
  EXPECT_EQ("content", readFile(directory_.path("out")));
  EXPECT_EQ(7, verify("--ca demo/ca.pem -o untrusted"));
  EXPECT_FALSE(std::filesystem::exists(directory_.path("untrusted")));
  EXPECT_EQ(0, runCommand("cd " + directory_.path() + " && mkfifo demo/pipe && ln demo/ca.crl hard").exitCode);
  for (const std::string place : {"./a.p7s.b64", "demo/../a", "demo/ca.pem", "hard"}) {
    const std::string before = readFile(directory_.path(place));
    EXPECT_EQ(2, verify("--content a --ca demo --crl demo -o " + place)) << place << " is read, and would be lost";
    EXPECT_EQ(before, readFile(directory_.path(place))) << place;
  }
}

TEST_F(InspectionTest, VerifyFindsTheContentOfManyDetachedSignatures) {
  const std::string detached = changed("detached.properties", "addPlainText = TRUE", "addPlainText = FALSE");
  directory_.write("b", "b");
  EXPECT_EQ(0,
            run("init --demo fresh && cp fresh/signer.pfx demo/ && " ZEPASIGN_TOOL " sign --pem --out-dir out a b -c " +
                detached + "; cp out/* .; " ZEPASIGN_TOOL " verify a.p7s.pem b.p7s.pem")
                .exitCode);
}

TEST_F(InspectionTest, ShowNamesWhatAFileIs) {
  EXPECT_EQ(1, run("show demo/signer.pfx", "echo wrong |").exitCode);
  EXPECT_EQ(0, runCommand("cd " + directory_.path() +
                          " && openssl req -new -newkey rsa:2048 -nodes -keyout key.pem -out csr.pem "
                          "-subj /CN=Chen 2>&1")
                   .exitCode);
  EXPECT_EQ("request", json("show csr.pem")[0]["kind"]);
  EXPECT_EQ("CN = Chen", json("show csr.pem")[0]["subject"]);
  EXPECT_EQ("zepasign: key.pem: not a kind of file that zepasign knows\n", run("show key.pem").output);
  EXPECT_TRUE(run("show demo/ca.pem key.pem").output.ends_with("that zepasign knows\n")) << "lines come in their order";
  EXPECT_EQ(1, run("show /dev/zero", "LC_ALL=C timeout 200").exitCode);
  directory_.write("x" + big5("憑證") + ".txt", "A = 1\n");
  EXPECT_EQ("x憑證.txt", json("show x*.txt")[0]["file"]);
}

TEST_F(InspectionTest, ShowStreamsFiltersAndFollowsALog) {
  const std::string start = "2026/01/31 08:15:00.123 (PID=4711) ";
  directory_.write("log", start + " INFO " + big5("憑證") + "\n" + start + "DEBUG /CN=\\xE9\\x99\\xB3\n row\n" + start +
                              "ERROR 憑證檔\n");
  EXPECT_EQ(start + " INFO 憑證\n" + start + "DEBUG /CN=陳\n row\n" + start + "ERROR 憑證檔\n", run("show log").output);
  EXPECT_EQ(start + "ERROR 憑證檔\n", run("show --level warn log").output);
  EXPECT_EQ(2U, json("show --level INFO log")[0]["lines"].size()) << "the row goes with its line";
  // As slowly as the machine pleases: the line is written once the others are shown.
  EXPECT_EQ(0, runCommand("cd '" + directory_.path() +
                          "'; LC_ALL=C " ZEPASIGN_TOOL " show --follow log >out & run=$!;"
                          " await() { timeout 200 sh -c \"until grep -q $1 out; do sleep 0.1; done\"; };"
                          " await row && echo later >>log && await later; found=$?; kill $run; exit $found")
                   .exitCode);
}

TEST_F(InspectionTest, InitWritesAPropertyFileForTheUsersOwnPfx) {
  EXPECT_EQ(1, run("init own --pfx demo/signer.pfx", "echo wrong |").exitCode);
  EXPECT_FALSE(std::filesystem::exists(directory_.path("own/app.properties")));
  const CommandResult made = run("init own --pfx demo/signer.pfx --ca ca.pem", "echo demo-password | LC_ALL=C");
  EXPECT_NE(std::string::npos, made.output.find("the library initialises and signs")) << made.output;
  EXPECT_EQ(0, run("sign -c own/app.properties --der -o own.der a").exitCode);
  EXPECT_EQ(2U, json("verify own.der")[0]["signers"][0]["chain"].size());
  EXPECT_EQ(0600U, static_cast<unsigned>(std::filesystem::status(directory_.path("own/app.properties")).permissions()));
}

}  // namespace
}  // namespace zepasign::testing
