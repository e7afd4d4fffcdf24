#include "pki/cx509.h"

#include <ctime>
#include <sstream>

#include "tests/support/signer_test.h"

namespace zepasign::testing {

TEST(X509, DatesAreUtcPlusEightInEveryZone) {
  putenv(const_cast<char*>("TZ=EST5EDT"));  // where the first of these hours does not exist
  tzset();
  std::istringstream table(
      "250308183000Z 20250309023000 250701000000Z 20250701080000 250101160000Z 20250102000000 "
      "240228235959Z 20240229075959 230228160000Z 20230301000000 690101000000Z 20690101080000 "
      "700101000000Z 19700101080000 20491231200000Z 20500101040000 99991231235959Z 100000101075959 "
      "zz250101000000Z 814250101080000 25 20241130080000");  // no digits and missing digits
  for (std::string text, expected; table >> text >> expected;) {
    const int type = text.size() <= 13 ? V_ASN1_UTCTIME : V_ASN1_GENERALIZEDTIME;
    const Owned<ASN1_STRING_free, ASN1_STRING> time(ASN1_STRING_type_new(type));
    ASN1_STRING_set(time.get(), text.c_str(), -1);
    EXPECT_EQ(asn1TimeToText(time.get()), expected) << text;
  }
  EXPECT_EQ(asn1TimeToText(nullptr), "");
}

TEST(X509, NamesSerialsAndUsages) {
  const Identity chen = makeIdentity({.subject = {{"OU", "A"}, {"CN", "Chen"}}, .issuer = makeIdentity(caPlan("CA"))});
  const X509Ptr decoded(decode<d2i_X509>(derOf(chen.certificate)));
  EXPECT_EQ(cX509(decoded.get()).getSubjectCN(), "");  // callers depend on it, whatever the name says
  EXPECT_FALSE(cX509(decoded.get()).isSelfIssued());
  for (const auto& [last, length] : {std::pair{59U, 511U}, {60U, 448U}}) {  // cut behind the last whole entry
    Name subject(7, {"OU", std::string(60, 'x')});
    subject.emplace_back("OU", std::string(last, 'y'));
    EXPECT_EQ(cX509(makeIdentity({.subject = subject}).certificate.get()).getSubjectOneLine().size(), length);
  }
  const char* big = "FEDCBA9876543210FEDCBA98765432";
  for (const auto& [serial, text] : {std::pair{"0", "0"}, {"ABC", "0ABC"}, {"-5", "-05"}, {big, big}}) {
    EXPECT_EQ(cX509(makeIdentity({.serial = serial}).certificate.get()).getSerial(), text);
  }
  for (const auto& [names, bits] : {std::pair{"", 0U}, {"cRLSign", 0x02U}, {"keyAgreement,decipherOnly", 0x8008U}}) {
    unsigned usage = 1;
    EXPECT_EQ(cX509(makeIdentity({.keyUsage = names}).certificate.get()).getKeyUsage(usage), bits != 0);
    EXPECT_EQ(usage, bits);
  }
}

TEST(X509, WhatIsAbsentIsEmpty) {
  const Identity bare = makeIdentity({.subject = {{"O", "No Name"}}, .subjectKeyId = "", .authorityKeyId = ""});
  const cX509 certificate(bare.certificate.get());
  EXPECT_EQ(certificate.getIssuerCN() + certificate.getSubjectCN() + certificate.getSubjectKeyId(), "");
  EXPECT_EQ(certificate.getAuthorityKeyId(), "");
  EXPECT_TRUE(certificate.getCrlDistPoints().empty());
  const CertPlan serialAlone{.authorityKeyId = "", .otherExtensions = {{"authorityKeyIdentifier", "DER:3003820101"}}};
  EXPECT_EQ(cX509(makeIdentity(serialAlone).certificate.get()).getAuthorityKeyId(), "");
}

TEST(X509, EveryNameOfEveryDistributionPointInOrder) {
  // A point with a URI, a DNS name, an IP address and a registered identifier; one without a name; a relative name.
  const char* points =
      "DER:302C3014A012A0108602753182016487043132333488012A300481020780300EA00CA10A300806035504030C0178";
  const Identity signer = makeIdentity({.otherExtensions = {{"crlDistributionPoints", points}}});
  EXPECT_EQ(cX509(signer.certificate.get()).getCrlDistPoints(), Lines({"u1", "d", "1234", "", "x"}));
}

}  // namespace zepasign::testing
