// seeds DIRECTORY: writes the seed inputs that are made, not typed, into DIRECTORY/<fuzzer>/.
#include <filesystem>
#include <iostream>

#include "fuzz/fuzz_support.h"

namespace {

using namespace zepasign;

void writeSeeds(const std::filesystem::path& corpus) {
  const auto write = [&corpus](const char* fuzzer, const char* name, const std::string& bytes) {
    std::filesystem::create_directories(corpus / fuzzer);
    demo::writeFile(corpus / fuzzer / name, bytes);
  };
  const auto& [root, ca, signer] = static_cast<const demo::Pki&>(fuzz::fixture());
  demo::CertPlan withEverything = demo::signerPlan(ca);
  withEverything.crlUris = {"http://crl.example/a", "ldap://crl.example/b"};
  withEverything.notBefore = "700101000000Z";
  write("certificate", "root", demo::derOf(root.certificate));
  write("certificate", "signer", demo::derOf(demo::makeIdentity(withEverything).certificate));
  write("pfx", "modern", demo::makePfx({.identity = signer}));
  write("pfx", "legacy", demo::makePfx({.identity = signer, .form = demo::PfxForm::legacy}));
  write("pfx", "unencrypted",
        demo::makePfx({.identity = signer, .caCertificates = {ca.certificate}, .form = demo::PfxForm::unencrypted}));
  write("chain", "root", demo::makeP7b({root.certificate}));
  write("chain", "root-and-ca", demo::makeP7b({root.certificate, ca.certificate}));
  write("crl", "current", demo::makeCrl({.issuer = ca, .serials = {"01", "02", "02"}}));
  write("crl", "expired", demo::makeCrl({.issuer = ca, .nextUpdate = "210101000000Z"}));
  write("crl", "open-ended", demo::makeCrl({.issuer = ca, .nextUpdate = ""}));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: fuzz_seeds DIRECTORY\n";
    return 2;
  }
  writeSeeds(argv[1]);
  return 0;
}
