// zepasign stamp and sign --tsa, with an authority on the loopback.
#include <unistd.h>

#include "pki/openssl.h"
#include "tests/support/timestamp_test.h"

namespace zepasign::testing {
namespace {

// withTwoTokens: the token of a signature (DER) twice, side by side.
std::string withTwoTokens(const std::string& der) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  const Pkcs7Ptr signature(d2i_PKCS7(nullptr, &bytes, static_cast<long>(der.size())));
  const PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(signature.get()), 0);
  X509_ATTRIBUTE* attribute = sk_X509_ATTRIBUTE_value(signer->unauth_attr, 0);
  const ASN1_STRING* token = X509_ATTRIBUTE_get0_type(attribute, 0)->value.sequence;
  X509_ATTRIBUTE_set1_data(attribute, V_ASN1_SEQUENCE, ASN1_STRING_get0_data(token), ASN1_STRING_length(token));
  return encode<i2d_PKCS7>(signature.get());
}

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
    EXPECT_EQ(0, shell("openssl cms" + arguments)) << file;
    EXPECT_EQ(0, shell("openssl smime" + arguments)) << file;
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
        Case{"drip", "no answer within 2 seconds"}, Case{"name", "was changed, or is none"},
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
    std::filesystem::create_directories(directory_.path("x/y"));
    directory_.write(name, name);
  }
  EXPECT_EQ(0, run("sign --recursive x -c " + quiet_).exitCode);
  directory_.write("x/4.p7s", "no signature");
  EXPECT_NE(std::string::npos, stamp("good", "--recursive --jobs 2 x").output.find("3 stamped, 0 skipped, 1 failed"));
  EXPECT_NE(std::string::npos, stamp("good", "--resume --recursive --jobs 2 x").output.find("0 stamped, 3 skipped"));
  EXPECT_NE(std::string::npos, stamp("good", "--resume --warn-days 36500 --recursive x").output.find("3 stamped"));
  const CommandResult lines = stamp("good", "--resume --json-lines a.p7s.b64 x/4.p7s");
  EXPECT_NE(std::string::npos, lines.output.find("\"code\":5042")) << lines.output;
  EXPECT_NE(std::string::npos, lines.output.find("\"stamped\":1")) << lines.output;
}

TEST_F(TimeStampTest, AnInterruptionLosesNothing) {
  std::filesystem::create_directory(directory_.path("many"));
  for (int i = 0; i < 8; ++i) directory_.write("many/" + std::to_string(i), "content");
  EXPECT_EQ(0, run("sign --recursive many -c " + quiet_).exitCode);
  EXPECT_EQ(0, shell("cp -r many before"));
  // The authority answers twice; then each of the two workers waits.
  const CommandResult stopped =
      runCommand("cd '" + directory_.path() + "'; " + kDirect +
                 " env --default-signal=INT " ZEPASIGN_TOOL " stamp --recursive many --jobs 2 --tsa " + http_ +
                 "/held & run=$!; until [ -e held3 ]; do sleep 0.02; done; kill -INT $run; wait $run");
  EXPECT_EQ(130, stopped.exitCode);
  EXPECT_NE(std::string::npos, stopped.output.find("/held: interrupted\n")) << "no worker waits any longer";
  EXPECT_NE(std::string::npos, stopped.output.find("interrupted: 2 stamped, 0 skipped, 2 failed")) << stopped.output;
  EXPECT_EQ(0, shell("test $(diff -rq many before | grep -c differ) = 2"));
  EXPECT_EQ(0, shell("test $(ls many | wc -l) = 16"));
  EXPECT_EQ(2, json("stamp --resume --recursive many --retries 0 --tsa http://127.0.0.1:1")["skipped"]);
}

TEST_F(TimeStampTest, TheFormOfASignatureStays) {
  EXPECT_EQ(0, shell("tr -d '\n' <a.p7s.b64 >line"));
  for (const std::string form :
       {"cat", "fold -w 60", "{ cat; printf '\r\n'; }", "{ printf '\n'; fold -w 76; printf '\n\n'; }",
        "{ fold -w 76 | sed 's/$/\r/'; printf '\n'; }",
        "{ printf 'Text\r\n-----BEGIN CMS-----\r\n'; fold -w 64 | sed 's/$/\r/'; printf '\n-----END CMS-----'; }"}) {
    EXPECT_EQ(0, shell(form + " <line >form")) << form;
    EXPECT_EQ(0, stamp("good", "form").exitCode) << form;
    EXPECT_EQ(0, shell("sed '/Text/d;/---/d' form | base64 -di | base64 -w 0 | " + form + " | cmp - form")) << form;
  }
}

TEST_F(TimeStampTest, ASignatureThatCannotTakeATimeStampStaysAsItIs) {
  const std::string sign = "openssl smime -sign -nodetach -in a -outform DER ";
  EXPECT_EQ(0, shell(sign + "-signer tsa.crt -inkey tsa.key -signer old.crt -inkey old.key -out two"));
  EXPECT_EQ(0, shell(sign + "-signer tsa.crt -inkey tsa.key -indef -stream -out ber"));
  EXPECT_EQ(0, run("sign --der -o unread a -c " + quiet_).exitCode);
  EXPECT_EQ(0, stamp("good", "unread").exitCode);
  std::string unread = bytes("unread");
  unread[unread.rfind("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02") + 8] = 1;  // the token is of type data
  directory_.write("unread", unread);
  EXPECT_EQ(0, run("sign --der -o twins a -c " + quiet_).exitCode);
  EXPECT_EQ(0, stamp("good", "twins").exitCode);
  directory_.write("twins", withTwoTokens(bytes("twins")));
  for (const auto& [file, message] :
       {std::pair{"two", "more than one signer"}, std::pair{"ber", "written back"},
        std::pair{"unread", "was changed, or is none"}, std::pair{"twins", "stand side by side"}}) {
    const std::string before = bytes(file);
    const CommandResult result = run(std::string("stamp --tsa http://127.0.0.1:1 --retries 0 ") + file, kDirect);
    EXPECT_NE(std::string::npos, result.output.find(message)) << "without a question: " << result.output;
    EXPECT_EQ(before, bytes(file)) << file;
  }
  EXPECT_EQ(4, run("verify unread").exitCode);
}

TEST_F(TimeStampTest, AFileThatMayNotBeWrittenCostsNoTimeStamp) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write to every file";
  std::filesystem::permissions(directory_.path("a.p7s.b64"), std::filesystem::perms::owner_read);
  EXPECT_NE(std::string::npos,
            run("stamp --tsa http://127.0.0.1:1 --retries 0 a.p7s.b64", kDirect).output.find("1003"));
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
  EXPECT_EQ(0, shell("sed -i s/sha512/sha256/ config"));
  EXPECT_EQ(0, run("stamp --query-out q a.p7s.b64").exitCode);
  EXPECT_EQ(0, run("stamp --reply r --tsa-ca clock.pem a.p7s.b64", ask + "LC_ALL=C").exitCode);
  EXPECT_EQ(0, shell("openssl ts -verify -in r -queryfile q -CAfile clock.pem"));
  EXPECT_EQ(1, run("stamp --reply r --tsa-ca clock.pem a.p7s.b64").exitCode) << "it is over the first value";
  EXPECT_EQ(2, run("stamp --query-out a.p7s.b64 a.p7s.b64").exitCode) << "the signature would be lost";
  EXPECT_EQ(2, run("stamp a.p7s.b64").exitCode);
}

TEST_F(TimeStampTest, SignStampsInOneStepOrNotAtAll) {
  directory_.write("b", "b");
  const std::string command = "sign b -c " + quiet_ + " --tsa-ca clock.pem --retries 0 --tsa " + http_;
  EXPECT_EQ(1, run(command + "/refusal", kDirect).exitCode);
  EXPECT_FALSE(std::filesystem::exists(directory_.path("b.p7s.b64")));
  EXPECT_EQ(0, run(command + "/good a --jobs 2", kDirect).exitCode);
  EXPECT_EQ("CN = Clock", json("show b.p7s.b64")[0]["signers"][0]["timeStamps"][0]["authority"]);
  EXPECT_NE(std::string::npos, run(command + "/good a --resume", kDirect).output.find("2 skipped"));
  EXPECT_EQ(2, run("sign b -c " + quiet_ + " --tsa-ca clock.pem").exitCode);
}

}  // namespace
}  // namespace zepasign::testing
