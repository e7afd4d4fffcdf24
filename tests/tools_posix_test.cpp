// The command line from end to end, as people use it: the built program, driven by the shell.
#include <regex>

#include "tests/support/tool_test.h"

namespace zepasign::testing {
namespace {

class CommandTest : public ToolTest {
 protected:
  void writeMany(int count) const {
    for (int i = 0; i < count; ++i) directory_.write("in" + std::to_string(i), "content " + std::to_string(i));
  }
};

TEST_F(CommandTest, SignsOneFileAndTellsGoodFromTampered) {
  const std::string file = directory_.write("a", "content");
  const std::string noLog = changed("no-log.properties", "LOG.file", "#LOG.file");
  EXPECT_EQ("", run("sign -c " + noLog + " a").output) << "nor what the library prints at its end";
  EXPECT_EQ(1, run("sign -c " + noLog + " -o - a >&-").exitCode) << "a signature that went nowhere";
  EXPECT_EQ(0, run("verify a.p7s.b64 --ca demo/ca.pem").exitCode);
  EXPECT_EQ(
      0, run("sign -c " + quiet_ + " --der - <a >a.der; openssl cms -verify -inform DER -in a.der -CAfile demo/ca.pem")
             .exitCode);
  const Json good = json("verify a.der --ca demo")[0];
  EXPECT_EQ(true, good["good"]);
  EXPECT_EQ(2U, good["signers"][0]["chain"].size());
  EXPECT_EQ(20U, good["signers"][0]["signingTime"].get<std::string>().size());

  std::string bytes = readFile(directory_.path("a.der"));
  directory_.write("bad.der", bytes.replace(bytes.find("content"), 7, "CONTENT"));
  EXPECT_EQ(4, run("verify bad.der").exitCode);
  EXPECT_EQ(0, run("init --demo other && " ZEPASIGN_TOOL " verify a.der").exitCode);
  EXPECT_EQ(7, run("verify a.der --ca other/ca.pem").exitCode) << "another CA's";
}

TEST_F(CommandTest, VerifiesADetachedSignatureOnlyWithItsContent) {
  directory_.write("a", "content");
  directory_.write("b", "other");
  const std::string detached = changed("detached.properties", "addPlainText = TRUE", "addPlainText = FALSE");
  EXPECT_EQ(0, run("sign --pem -o a.pem -c " + detached + " a").exitCode);
  EXPECT_EQ(0, run("verify a.pem --content a").exitCode);
  EXPECT_EQ(4, run("verify a.pem --content b").exitCode);
  EXPECT_NE(std::string::npos, json("verify a.pem")[0]["reason"].get<std::string>().find("--content"));
}

TEST_F(CommandTest, SignsManyWithWorkersAndResumesWhatFailed) {
  writeMany(20);
  const std::string command = "sign -c " + quiet_ + " --out-dir out --jobs 2 --resume missing in*";
  const CommandResult first = run(command);
  EXPECT_EQ(1, first.exitCode);
  EXPECT_NE(std::string::npos, first.output.find("zepasign: missing: "));
  EXPECT_NE(std::string::npos, first.output.find("20 signed, 0 skipped, 1 failed"));
  EXPECT_EQ(0, run("verify out/* --ca demo/ca.pem").exitCode);

  directory_.write("missing", "found");
  std::filesystem::remove(directory_.path("out/in7.p7s.b64"));
  EXPECT_EQ((Json{{"signed", 2}, {"skipped", 19}, {"failed", 0}, {"failures", Json::array()}}), json(command));
  EXPECT_EQ(2, run("sign -c " + quiet_ + " --out-dir out in1 ./in1").exitCode) << "one place for two";
  for (const char* place : {"in1", "./in1", "out/../in1"}) {
    EXPECT_EQ(2, run("sign -c " + quiet_ + " -o " + place + " in1").exitCode) << "the content would be lost";
  }
  EXPECT_EQ(3, run("sign -c missing --jobs 2 in1 in2").exitCode);
  EXPECT_EQ(1202, json("sign -c missing --jobs 2 in1 in2")["failures"][0]["code"]);
  EXPECT_EQ(1202, json("check -c missing")["code"]);
}

// The limit on file sizes kills the process in the middle of writing a signature.
TEST_F(CommandTest, LeavesNoHalfWrittenFileWhenKilled) {
  directory_.write("big", std::string(300'000, 'x'));
  const std::string sign = "sign -c " + quiet_ + " -o big.p7s --resume big";
  EXPECT_EQ(128 + SIGXFSZ, run("--version && ulimit -f 64 && exec " ZEPASIGN_TOOL " " + sign).exitCode);
  EXPECT_FALSE(std::filesystem::exists(directory_.path("big.p7s")));
  EXPECT_EQ(0, run(sign).exitCode);
  EXPECT_EQ(0, run("verify big.p7s").exitCode);
  EXPECT_FALSE(std::filesystem::exists(directory_.path("big.p7s.zepasign-part")));
}

TEST_F(CommandTest, ShowsEveryKindOfFile) {
  directory_.write("a", "content");
  EXPECT_EQ(0, run("sign -c demo/app.properties a").exitCode);
  const Json shown =
      json("show a.p7s.b64 demo/chain.p7b demo/ca.crl demo/ca.pem demo/app.properties demo/log/zepasign.log.*");
  std::string kinds;
  for (const Json& each : shown) kinds += each["kind"].get<std::string>() + " ";
  EXPECT_EQ("signature chain crl certificate properties log ", kinds);
  EXPECT_EQ(3U, shown[0]["certificates"].size());
  EXPECT_EQ(std::string::npos, shown[4].dump().find("PnS")) << "secrets stay hidden";
  const Json pfx = Json::parse(run("show --json demo/signer.pfx", "echo demo-password |").output);
  EXPECT_EQ("C = TW, O = zepasign demo, CN = zepasign demo signer", pfx[0]["certificate"]["subject"]);
  EXPECT_EQ(1, run("show /dev/null").exitCode);
  directory_.write("hostile",
                   "CRL.path = x\x1B[2J\x7F\xC2\x9B"
                   "2J\tA\xC2\xA0\n");
  EXPECT_NE(std::string::npos, run("show hostile").output.find(" x?[2J??2J\tA\xC2\xA0\n")) << "no escape sequence";
}

TEST_F(CommandTest, EncryptsThePasswordInBothForms) {
  directory_.write("a", "content");
  const std::string withKey = changed("key.properties", "#PSWD.authKey = ", "PSWD.authKey = any text");
  EXPECT_EQ(3, run("sign -c " + withKey + " a </dev/null").exitCode) << "nobody to ask";
  EXPECT_EQ(3, run("check -c " + withKey + " </dev/null").exitCode);
  EXPECT_EQ(0, run("passwd -c " + withKey + " >enced", "echo demo-password |").exitCode);
  EXPECT_EQ(0, run("sign -c " + withKey + " --enced-file enced a").exitCode);
  const std::string stored = run("passwd --stored -c " + quiet_, "echo demo-password |").output;
  EXPECT_NE(std::string::npos, readFile(quiet_).find("PFX.pswdB64 = " + stored));
  EXPECT_EQ(1, run("passwd -c " + withKey + " </dev/null").exitCode);
}

TEST_F(CommandTest, SpeaksTheLocalesLanguageInItsEncoding) {
  const std::string chinese = "zepasign: demo/app.properties: 已存在\n";
  EXPECT_EQ("zepasign: demo/app.properties: exists already\n", run("init demo").output);
  EXPECT_EQ(chinese, run("init demo", "LC_ALL=zh_TW.UTF-8").output);
  EXPECT_EQ(big5(chinese), run("init demo", "LC_ALL=zh_TW.Big5").output);
  const CommandResult mistyped = run("sgin -c x", "LC_ALL=zh_TW.UTF-8");
  EXPECT_EQ(2, mistyped.exitCode);
  EXPECT_NE(std::string::npos, mistyped.output.find("未知的子命令 sgin: 是否為 sign?"));
  EXPECT_NE(std::string::npos, run("verify --contnt a b").output.find("is --content meant?"));
  // Every mistake is told in Chinese: no sentence of the option parser comes through.
  for (const char* wrong :
       {"", "verify", "sign -c", "sign -c x --jobs 999 f", "sign -c x --text GBK f", "show -- a b -x",
        "sign --der --pem -c x f", "sign -c x -c y f", "sign -c x --jobs a f", "passwd -c x a b"}) {
    const std::string said = run(wrong, "LC_ALL=zh_TW.UTF-8").output;
    EXPECT_FALSE(std::regex_search(said, std::regex("[A-Za-z]{3,} [a-z]{2,} [a-z]{2,}"))) << wrong << ": " << said;
  }
  std::filesystem::remove(directory_.path("demo/app.properties"));
  EXPECT_EQ("zepasign: demo/signer.pfx: exists already\n", run("init --demo demo").output) << "the user's PFX stays";
}

}  // namespace
}  // namespace zepasign::testing
