#include "base/cproperty.h"
#include "pki/ccertchainlist.h"
#include "tests/support/signer_test.h"

namespace zepasign::testing {

// Chain: loads the files of the fixture's directory into a list of its own.
class Chain : public SignerTest {
 protected:
  // loads: expects the result, whether a chain is stored then, and the lines of a level.
  void loads(Properties properties, bool result, bool stored, const std::string& lines = "",
             const std::string& level = "ERROR ") {
    cProperty property;
    properties.insert({"P7B.path", directory.path()});
    EXPECT_TRUE(property.loadFromFile(directory.write("app.properties", propertyText(properties))));
    taken();
    list = std::make_unique<cCertChainList>();
    EXPECT_EQ(list->loadCertChainFiles(&property), result) << lines;
    EXPECT_EQ(list->isEmpty(), !stored);
    EXPECT_EQ(taken(level), big5(lines));
  }
  void loadsFile(const std::string& file, const std::string& ski, bool accepted, const std::string& errors = "") {
    directory.write("chain.p7b", file);
    loads({{"P7B0.name", "chain.p7b"}, {"P7B0.SKI", ski}}, accepted, accepted, errors);
  }
  // carries: expects what a signature below the first of these carries, the issuing CA first.
  void carries(const std::vector<Identity>& expected) {
    const X509StackPtr chain = list->prepareCertChain(makeIdentity({.issuer = expected[0]}).certificate.get());
    int at = sk_X509_num(chain.get());
    ASSERT_EQ(at, std::ssize(expected));
    for (const Identity& each : expected) {
      EXPECT_EQ(X509_cmp(sk_X509_value(chain.get(), --at), each.certificate.get()), 0);
    }
  }
  static std::string p7b(const std::vector<Identity>& identities) {
    std::vector<Certificate> certificates;
    for (const Identity& each : identities) certificates.push_back(each.certificate);
    return makeP7b(certificates);
  }
  static std::string keyOf(const Identity& identity) { return subjectKeyIdOf(identity.certificate); }
  // dump: the lines about a certificate of a chain.
  static std::string dump(const Identity& own, const Identity& issuer, const char* kind, const char* usage) {
    const cX509 x(own.certificate.get());
    char text[1000];
    std::snprintf(
        text, sizeof text,
        "DEBUG \t|--- %s憑證, 憑證序號 = %s\nDEBUG \t|\t|--- 憑證 主旨 CN = \nDEBUG \t|\t|--- 憑證 發行者 CN = %s\n"
        "DEBUG \t|\t|--- 憑證 生效日 = 20200101080000\nDEBUG \t|\t|--- 憑證 到期日 = 21000101075959\n"
        "DEBUG \t|\t|--- 憑證 摘要值 = %s\nDEBUG \t|\t|--- 憑證 SKI = %s\nDEBUG \t|\t|--- 憑證 AKI = %s\n"
        "DEBUG \t|\t|--- 金鑰使用方方式 = %s\n",
        kind, x.getSerial().c_str(), x.getIssuerCN().c_str(), x.getFingerprint().c_str(), keyOf(own).c_str(),
        keyOf(issuer).c_str(), usage);
    return text;
  }

  std::unique_ptr<cCertChainList> list = {};
  const Identity root = fixture.root, ca = fixture.ca;
  const std::string key = keyOf(ca);
};

TEST_F(Chain, ValidFilesAreAcceptedAndTheirPathIsBuilt) {
  const auto builds = [&](const std::string& file, const std::vector<Identity>& expected, const char* errors = "") {
    loadsFile(file, keyOf(expected[0]), true, errors);
    carries(expected);
  };
  CertPlan sha1 = caPlan("SHA-1"), crossed = caPlan("Test CA", makeIdentity(caPlan("Root 2"))), bare = sha1;
  sha1.digest = "SHA1";
  crossed.key = ca.key;
  bare.subjectKeyId = bare.authorityKeyId = "";
  CertPlan here = caPlan("Here", makeIdentity(bare)), there = here;  // each names the other's key as its issuer's
  here.subjectKeyId = "A1A1A1";
  there.subjectKeyId = "B2B2B2";
  here.authorityKeyId = there.authorityKeyId = "";
  here.otherExtensions = {{"authorityKeyIdentifier", "DER:30058003B2B2B2"}};
  there.otherExtensions = {{"authorityKeyIdentifier", "DER:30058003A1A1A1"}};
  const Identity old = makeIdentity(sha1), renewed = makeIdentity(caPlan("Test CA", root));
  const Identity cross = makeIdentity(crossed), first = makeIdentity(here), second = makeIdentity(there);
  builds(p7b({root}), {root});
  builds(p7b({old}), {old});
  builds(p7b({ca, renewed, root}), {renewed, root});
  builds(p7b({crossed.issuer, cross, root, ca}), {cross, crossed.issuer});
  builds(makeP7b({fixture.signer.certificate, root.certificate}, {makeCrl({.issuer = root})}), {root},
         "不在同一個憑證鏈!\n");
  builds(p7b({here.issuer, first, second}), {first, second});
  directory.write("Chain.P7b", p7b({root, ca}));
  directory.write("other.p7b", p7b({crossed.issuer, cross}));
  loads({{"P7B8.name", "chaiN.p7B"}, {"P7B8.SKI", key}, {"P7B9.name", "other.p7b"}, {"P7B9.SKI", key}}, true, true);
  carries({ca, root});
}

// A certificate authority renews its root with the same key or with a new one, and links the new root to the old one,
// or to another authority's, by certificates of the same name.
TEST_F(Chain, RenewedAndCrossSignedRootsAreAcceptedInEveryOrder) {
  const auto rooted = [](const Identity& issuer, const Key& own, const char* authorityKeyId) {
    CertPlan plan = caPlan("Root", issuer);
    plan.key = own;
    plan.authorityKeyId = authorityKeyId;
    return makeIdentity(plan);
  };
  const auto refusedOrders = [&](std::vector<Identity> identities) {
    const Identity issuing = makeIdentity(caPlan("Issuing", identities[0]));
    std::vector<Certificate> file = {issuing.certificate};
    for (const Identity& each : identities) file.push_back(each.certificate);
    cProperty property;
    static_cast<void>(property.parse(
        propertyText({{"P7B.path", directory.path()}, {"P7B0.name", "chain.p7b"}, {"P7B0.SKI", keyOf(issuing)}})
            .c_str()));
    int refused = 0;
    std::sort(file.begin(), file.end());
    do {
      directory.write("chain.p7b", makeP7b(file));
      if (!cCertChainList().loadCertChainFiles(&property)) ++refused;
    } while (std::next_permutation(file.begin(), file.end()));
    return refused;
  };
  logger.setLevel("OFF");
  for (const char* authorityKeyId : {"", "keyid:always"}) {
    const Identity old = rooted({}, newEcKey(), authorityKeyId), renewed = rooted({}, old.key, authorityKeyId);
    const Identity fresh = rooted({}, newEcKey(), authorityKeyId);
    const Identity freshByOld = rooted(old, fresh.key, "keyid"), oldByFresh = rooted(fresh, old.key, "keyid");
    EXPECT_EQ(refusedOrders({renewed, old}), 0) << "renewed with its own key " << authorityKeyId;
    EXPECT_EQ(refusedOrders({fresh, old}), 0) << "renewed with a new key " << authorityKeyId;
    EXPECT_EQ(refusedOrders({fresh, rooted(root, fresh.key, authorityKeyId), root}), 0)
        << "signed by another root as well " << authorityKeyId;
    EXPECT_EQ(refusedOrders({fresh, freshByOld, old}), 0) << "linked to the old one " << authorityKeyId;
    EXPECT_EQ(refusedOrders({fresh, freshByOld, oldByFresh, old}), 0) << "linked both ways " << authorityKeyId;
  }
}

TEST_F(Chain, InvalidFilesAreRefusedWithTheirLines) {
  CertPlan late = caPlan("Late", root), plain = late;
  late.notAfter = "210101000000Z";
  plain.keyUsage = "";
  const Identity expired = makeIdentity(late), noUsage = makeIdentity(plain);
  const std::string refused = "內部驗證失敗, 這個憑證鏈捨棄不使用, 無法用來驗憑證鏈\n", whole = p7b({root, ca});
  const std::string other = "憑證鏈 SKI 與設定檔不符 = ", broken = "\t|\t|--- 驗章失敗, 原因 = ",
                    path = directory.path();
  loadsFile(whole, "", false, other + "\n" + refused);
  loadsFile(whole, "a" + key, false, other + "a" + key + "\n" + refused);
  loadsFile(p7b({root, noUsage}), keyOf(noUsage), false, other + keyOf(noUsage) + "\n" + refused);
  loadsFile(p7b({root, ca, expired}), key, false, broken + "certificate has expired\n" + refused);
  loadsFile(p7b({ca}), key, false, broken + "unable to get local issuer certificate\n找不到根憑證可供驗章\n" + refused);
  loadsFile(pemOf("PKCS7", whole), key, false);
  loadsFile(p7b({}), key, false);
  loadsFile("\x30\x0B\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01", key, false);  // data, not signed data
  loads({{"P7B.path", ""}}, false, false, "未指定 P7B 目錄!\n");
  loads({{"P7B.path", path + "/none"}}, false, false, "無法讀取 P7B 目錄!\n");
  directory.write("third.p7bx", whole);
  directory.write("third.p7b", whole);
  std::filesystem::create_directory(directory.path("directory.p7b"));
  for (const auto& [index, name] :
       {std::pair{"10", "third.p7b"}, {"0", "none.p7b"}, {"0", "third.p7bx"}, {"0", "directory.p7b"}}) {
    const std::string title = std::string("P7B") + index;
    loads({{title + ".name", name}, {title + ".SKI", key}}, true, false);
  }
  gives(list->loadCertChainFiles(nullptr), false, "參數錯誤 : property = NULL\n");
}

TEST_F(Chain, LogsEveryCertificateEveryCrlAndThePath) {
  const Identity leaf = makeIdentity({.issuer = ca, .crlUris = {"http://a", "http://b"}});
  directory.write("chain.p7b", p7b({root, leaf, ca}));
  directory.write("ca.crl", makeCrl({.issuer = fixture.signer, .serials = {"0A", "0B", "0A"}}));
  const std::string path = directory.path(), verified = "DEBUG \t|\t|--- 驗證成功\n";
  loads({{"P7B3.name", "chain.p7b"}, {"P7B3.SKI", key}, {"CRL.path", path}, {"P7B3.crlFile4", "ca.crl"}}, true, true,
        "INFO begin cCertChainList::loadCertChainFiles()\nINFO 執行載入 P7B3.name 檔 = chain.p7b\n"
        "DEBUG begin cCertChainEntry::selfVerify()\n" +
            dump(root, root, "根", "0x00000006(6)") + verified + dump(leaf, ca, "EE ", "0x000000C0(192)") +
            "DEBUG \t|\t|--- CrlDP = http://a\nDEBUG \t|\t|--- CrlDP = http://b\nDEBUG \t|\t|--- 不予驗證\n" +
            dump(ca, root, "CA ", "0x00000006(6)") + verified +
            "DEBUG begin cCertChainEntry::verifyCert()\nDEBUG 驗章 Subject = /C=TW/O=Zepa Test/CN=Test Signer\n"
            "DEBUG end cCertChainEntry::verifyCert() = 0x00000000(0)\nINFO end cCertChainEntry::selfVerify() = true\n"
            "DEBUG begin cCertChainEntry::loadCrlList()\nDEBUG begin cCrlList::addCrlFile()\nPARAM title = crlFile4\n"
            "PARAM fileName = ca.crl\nDEBUG 載入 CRL 檔案檔名 = " +
            path +
            "/ca.crl\nDEBUG end cFile::loadFromFile() return = true\nDEBUG 載入 CRL 檔案長度 = 0x000001CC(460)\n"
            "DEBUG begin cCrlFileEntry::parseCrl() = crlFile4\nDEBUG CRL 下次發佈時間 = 21000101075959\n"
            "DEBUG 驗 CRL 效期 : 有效 CRL\nDEBUG CRL廢止數量 = 0x00000003(3)\nDEBUG CRL廢止數量 = 0x00000002(2)\n"
            "DEBUG end cCrlFileEntry::parseCrl()\nDEBUG end cCrlFileEntry::loadCrl() = true\n"
            "DEBUG end cCrlList::addCrlFile() = true\nINFO 載入 crl 檔數量 = 0x00000001(1)\n"
            "INFO end cCertChainEntry::loadCrlList()\nINFO 載入 P7B3.name 檔成功\n"
            "INFO end cCertChainList::loadCertChainFiles() = true\n",
        "");
  carries({ca, root});
  const std::string found = "DEBUG 找到簽章 CA 的 subject = /C=TW/O=Zepa Test/CN=Test ";
  EXPECT_EQ(taken(), big5(found + "CA\n" + found +
                          "Root\nDEBUG 這是 CA 的根憑證\n"
                          "DEBUG end cCertChainList::prepareCertChain() 數量 = 0x00000002(2)\n"));
}

}  // namespace zepasign::testing
