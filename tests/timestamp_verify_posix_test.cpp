// What verify and show say of time stamps.
#include "tests/support/timestamp_test.h"

namespace zepasign::testing {
namespace {

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
  EXPECT_EQ(0,
            shell(parse + " -out token -strparse " + lines +
                  "'/timeStampToken/ {getline; getline; print $1 + 0; exit}') && " + parse + " -out value -strparse " +
                  lines + "'/OCTET STRING/ {at = $1} /timeStampToken/ {print at + 0; exit}') && " +
                  "openssl ts -verify -token_in -in token -data value -CAfile clock.pem"));
  std::string damaged = bytes("a.der");
  damaged.back() ^= 1;
  directory_.write("damaged.der", damaged);
  EXPECT_EQ(4, run("verify damaged.der").exitCode) << "the last byte is that of the last token's signature";
  EXPECT_EQ(1, stamp("good", "damaged.der").exitCode);
}

TEST_F(TimeStampTest, ARevokedAuthorityProvesWhatAnotherOneHasConfirmedBefore) {
  const auto revoke = [this](const std::string& time) {
    directory_.write("clock.crl", makeCrl({.issuer = ca_, .serials = {"5A"}, .lastUpdate = time}));
  };
  directory_.write("clock.key", pemOf("EC PRIVATE KEY", encode<i2d_PrivateKey>(ca_.key.get())));
  directory_.write("ca.cnf", "[ca]\ndefault_ca=a\n[a]\ndatabase=index\ncertificate=clock.pem\nprivate_key=clock.key\n");
  const std::string trust = "verify a.p7s.b64 --ca demo/ca.pem --tsa-ca clock.pem --crl clock.crl --crl demo/ca.crl";
  EXPECT_EQ(0, stamp("good").exitCode);
  revoke("20200101000000Z");
  EXPECT_EQ(6, run(trust + " --at signing").exitCode);
  for (const auto& [reason, exitCode] : {std::pair{"superseded", 0}, std::pair{"keyCompromise", 6}}) {
    directory_.write("index", std::string("R\t991231235959Z\t491231235959Z,") + reason + "\t5A\tunknown\t/CN=Clock\n");
    const std::string makeCrl = "openssl ca -gencrl -config ca.cnf -md sha256 -crldays 9 -out clock.crl";
    EXPECT_EQ(0, shell(makeCrl));
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
  std::filesystem::create_directory(directory_.path("archive"));
  std::filesystem::copy(directory_.path("a.p7s.b64"), directory_.path("archive/b.p7s.b64"));
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
