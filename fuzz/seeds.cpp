// seeds FOLDER: writes the seed inputs that are made, not typed, into FOLDER/<fuzzer>/.
#include <filesystem>
#include <iostream>

#include "fuzz/fuzz_support.h"

namespace {

using namespace zepasign;

void writeSeeds(const std::filesystem::path& corpus) {
  const auto write = [&corpus](const char* fuzzer, const char* name, const std::string& bytes) {
    std::filesystem::create_directories(corpus / fuzzer);
    testing::writeFile(corpus / fuzzer / name, bytes);
  };
  const testing::Identity& root = fuzz::stage().root;
  const testing::Identity& signer = fuzz::stage().signer;
  testing::CertPlan withEverything = testing::signerPlan(root);
  withEverything.crlUris = {"http://crl.example/a", "ldap://crl.example/b"};
  withEverything.notBefore = "700101000000Z";
  write("certificate", "root", testing::derOf(root.certificate));
  write("certificate", "signer", testing::derOf(testing::makeIdentity(withEverything).certificate));
  write("pfx", "modern", testing::makePfx({.identity = signer}));
  write("pfx", "legacy", testing::makePfx({.identity = signer, .form = testing::PfxForm::legacy}));
  write("pfx", "unencrypted",
        testing::makePfx(
            {.identity = signer, .caCertificates = {root.certificate}, .form = testing::PfxForm::unencrypted}));
  write("chain", "root", testing::makeP7b({root.certificate}));
  write("chain", "root-and-signer", testing::makeP7b({root.certificate, signer.certificate}));
  write("crl", "current", testing::makeCrl({.issuer = root, .serials = {"01", "02", "02"}}));
  write("crl", "expired", testing::makeCrl({.issuer = root, .nextUpdate = "210101000000Z"}));
  write("crl", "open-ended", testing::makeCrl({.issuer = root, .nextUpdate = ""}));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: fuzz_seeds FOLDER\n";
    return 2;
  }
  writeSeeds(argv[1]);
  return 0;
}
