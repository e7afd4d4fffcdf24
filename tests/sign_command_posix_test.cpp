// zepasign sign: what it reads, what it never writes over, and how batches end.
#include "tests/support/tool_test.h"

namespace zepasign::testing {
namespace {

class SignCommandTest : public ToolTest {
 protected:
  SignCommandTest() {
    for (int i = 0; i < 20; ++i) directory_.write("in" + std::to_string(i), "content " + std::to_string(i));
  }

  // sign: with the property file that logs nothing. `before` may be a command whose output goes to the standard input.
  CommandResult sign(const std::string& arguments, const std::string& before = "LC_ALL=C") const {
    return run("sign -c quiet.properties " + arguments, before);
  }
  int verify(const std::string& signatures) const { return run("verify --ca demo/ca.pem " + signatures).exitCode; }
  bool exists(const std::string& name) const { return std::filesystem::exists(directory_.path(name)); }
};

TEST_F(SignCommandTest, WritesIntoWhatIsNoRegularFileAndThroughLinks) {
  EXPECT_EQ(0, shell("mkfifo pipe && touch target && chmod 640 target && ln -s target link && ln -s new dangling"));
  EXPECT_EQ(0, sign("-o pipe in0 | cat pipe >read").exitCode);
  EXPECT_EQ(0, verify("read"));
  EXPECT_EQ(0, sign("-o link in0").exitCode);
  EXPECT_EQ(0, sign("-o dangling in0").exitCode);
  EXPECT_EQ(0, shell("test -p pipe -a -L link -a -L dangling")) << "all are what they were";
  EXPECT_EQ(0, verify("target new"));
  EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(directory_.path("target")).permissions());
  EXPECT_EQ(
      0, sign("-o /dev/stdout in0 >out; " ZEPASIGN_TOOL " sign -c quiet.properties -o /dev/fd/5 in0 5>five").exitCode);
  EXPECT_EQ(0, verify("out five"));
}

TEST_F(SignCommandTest, NeverWritesOverKeysSettingsOrInputs) {
  EXPECT_EQ(0, shell("ln demo/signer.pfx hard && ln -s demo/ca.crl soft"));
  for (const std::string place : {"demo/../demo/chain.p7b", "hard", "soft", "quiet.properties", "./in0"}) {
    const std::string before = readFile(directory_.path(place));
    const CommandResult refused = sign("-o " + place + " in0");
    EXPECT_EQ(2, refused.exitCode) << place;
    EXPECT_NE(std::string::npos, refused.output.find("would be lost: ")) << refused.output;
    EXPECT_EQ(before, readFile(directory_.path(place))) << place;
  }
  EXPECT_EQ(2, sign("--out-dir out in1 ./in1").exitCode) << "one place for two signatures";
  EXPECT_EQ(1, sign("--out-dir out --files-from -", "printf 'in1\\n./in1\\n' | LC_ALL=C").exitCode);
}

TEST_F(SignCommandTest, RemembersThePlacesOfManySignatures) {
  const std::string list = "(seq 3000; echo 3000; echo 1; echo 2500) | sed 's|.*|missing\\n&|' | ";
  const auto failures = [&](const std::string& environment, const std::string& message) {
    const std::string command = environment + ZEPASIGN_TOOL " sign -c quiet.properties --pairs --files-from - --json";
    EXPECT_EQ(0, shell(list + command + " | grep -o '" + message + "' | wc -l >count"));
    return std::stoi(readFile(directory_.path("count")));
  };
  EXPECT_EQ(3, failures("", "two signatures would be written"));
  EXPECT_LT(0, failures("TMPDIR=/missing ", "no temporary file"));
}

TEST_F(SignCommandTest, ReadsListsAndPairs) {
  directory_.write("odd\nname", "content");
  const Json lines = Json::parse(
      run("sign -c quiet.properties --out-dir out --files-from - --json 2>&-", R"(printf 'in0\n\nmissing\r\nin1' |)")
          .output);
  EXPECT_EQ(2, lines["signed"]);
  EXPECT_EQ(3, lines["failures"][0]["entry"]);
  EXPECT_EQ(1002, lines["failures"][0]["code"]);
  const std::string found = "find . -maxdepth 1 -type f ! -name '*.properties' -print0 | LC_ALL=C";
  EXPECT_EQ(0, sign("--jobs 2 --files-from -", found).exitCode);
  EXPECT_EQ(0, sign("--jobs 2 --files-from -", found).exitCode);
  EXPECT_TRUE(exists("odd\nname.p7s.b64"));
  EXPECT_FALSE(exists("in0.p7s.b64.p7s.b64")) << "signatures of the first run are no documents";
  EXPECT_EQ(0, sign("--pairs --files-from -", "printf 'in0\\0x\\0in1\\0y\\0' | LC_ALL=C").exitCode);
  EXPECT_EQ(0, verify("x y"));
  EXPECT_EQ(1, sign("--pairs --files-from -", "printf 'in0\\nx\\nin1\\n' | LC_ALL=C").exitCode);
}

TEST_F(SignCommandTest, SignsDirectoriesButNotWhatLinksLeadTo) {
  EXPECT_EQ(0,
            shell("mkdir -p docs/a docs/b far && cp in0 docs/a && cp in0 docs/b && cp in0 far && ln -s ../far docs/l"));
  EXPECT_EQ(0, sign("--recursive --out-dir out/deep docs").exitCode);
  EXPECT_EQ(0, verify("out/deep/a/in0.p7s.b64 out/deep/b/in0.p7s.b64"));
  EXPECT_FALSE(exists("out/deep/l"));
  const std::string lines = sign("--recursive --json-lines docs").output;
  EXPECT_LT(lines.find("docs/a/in0"), lines.find("docs/b/in0"));
  EXPECT_EQ(2, json("sign -c quiet.properties --recursive --resume docs")["skipped"]);
}

TEST_F(SignCommandTest, ResumesWhatIsMissingOlderOrDamaged) {
  const std::string command = "sign -c quiet.properties --out-dir out --jobs 2 --resume missing in*";
  const CommandResult first = run(command);
  EXPECT_EQ(1, first.exitCode);
  EXPECT_NE(std::string::npos, first.output.find("zepasign: missing: "));
  EXPECT_NE(std::string::npos, first.output.find("20 signed, 0 skipped, 1 failed"));
  EXPECT_EQ(0, verify("out/*"));

  directory_.write("missing", "found");
  EXPECT_EQ(0, shell("cd out && rm in7.* && touch -d '1 hour ago' in8.* && truncate -s -9 in9.* &&"
                     " head -c $(stat -c %s in10.*) /dev/zero >zeros && mv zeros in10.p7s.b64"));
  EXPECT_EQ((Json{{"signed", 5}, {"skipped", 16}, {"failed", 0}, {"failures", Json::array()}}), json(command));
  for (const char* form : {"--der", "--pem"}) {
    EXPECT_EQ(0, sign(std::string(form) + " in1").exitCode);
    EXPECT_EQ(1, json(std::string("sign -c quiet.properties --resume in1 ") + form)["skipped"]) << form;
  }
}

TEST_F(SignCommandTest, TellsWhatDoesNotInitialiseAndWhoDied) {
  EXPECT_EQ(3, run("sign -c missing --jobs 2 in0 in1").exitCode);
  EXPECT_EQ(1202, json("sign -c missing --jobs 2 in0 in1")["failures"][0]["code"]);
  // One worker waits for the content of a pipe that nobody writes, until both are killed.
  EXPECT_EQ(0, shell("mkfifo pipe"));
  const CommandResult killed =
      runCommand("cd '" + directory_.path() +
                 "'; LC_ALL=C " ZEPASIGN_TOOL
                 " sign -c quiet.properties --text BIG5 --jobs 2 pipe in0 in1 in2 in3 & run=$!;"
                 " until [ -e in3.p7s.b64 ] || [ -e in2.p7s.b64 ]; do sleep 0.1; done;"
                 " kill -9 $(cat /proc/$run/task/*/children); wait $run");
  EXPECT_EQ(1, killed.exitCode);
  EXPECT_NE(std::string::npos, killed.output.find("zepasign: pipe: worker process ")) << killed.output;
}

TEST_F(SignCommandTest, EndsWellWhenInterruptedOrNotRead) {
  EXPECT_EQ(0, shell("seq -f many%g 3000 | xargs -n 500 sh -c 'tee \"$@\" <in0 >/dev/null' sh"));
  for (const char* jobs : {"1", "2"}) {
    // A shell lets what it starts in the background ignore SIGINT, so the command takes it back.
    const CommandResult stopped =
        runCommand("cd '" + directory_.path() +
                   "'; LC_ALL=C env --default-signal=INT " ZEPASIGN_TOOL " sign -c quiet.properties --out-dir out" +
                   jobs + " --jobs " + jobs + " many* & run=$!;" + " until [ -e out" + jobs +
                   "/many1.p7s.b64 ]; do sleep 0.02; done; kill -INT $run; wait $run");
    EXPECT_EQ(130, stopped.exitCode);
    EXPECT_NE(std::string::npos, stopped.output.find("interrupted: ")) << stopped.output;
    EXPECT_EQ(0, verify("out" + std::string(jobs) + "/*"));
  }
  EXPECT_EQ(0, shell("test -z \"$(ls out1 out2 | grep part)\""));
  EXPECT_EQ(0, sign("--json-lines in*; echo $? >code; } | true", "{ LC_ALL=C").exitCode);
  EXPECT_EQ("141\n", readFile(directory_.path("code")));
}

}  // namespace
}  // namespace zepasign::testing
