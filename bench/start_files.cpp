#include "bench/start_files.h"

#include <fstream>

#include "bench/measure.h"
#include "bench/stage.h"
#include "demo/handles.h"
#include "tests/support/pki.h"

namespace zepasign::bench {
namespace {

std::vector<std::string> manySerials() {
  std::vector<std::string> serials;
  for (int i = 0; i < 10000; ++i) serials.push_back(formatted("1000%08X", i * 7919));
  return serials;
}

std::string readWhole(const std::filesystem::path& path) {
  std::string bytes(std::filesystem::file_size(path), '\0');
  std::ifstream file(path, std::ios::binary);
  require(!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())).fail(), "reading");
  return bytes;
}

void parsePfx(const std::string& der) {
  const Pkcs12Ptr pfx(testing::decode<d2i_PKCS12>(der));
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  require(PKCS12_parse(pfx.get(), testing::PfxPlan{}.password.c_str(), &key, &certificate, nullptr) == 1, "the PFX");
}

}  // namespace

StartFiles::StartFiles() {
  testing::Properties properties = {{"LOG.level", "OFF"},
                                    {"LOG.path", folder_.path()},
                                    {"LOG.file", "start.log"},
                                    {"P7B.path", folder_.path()},
                                    {"CRL.path", folder_.path()},
                                    {"PKCS7.addCert", "1"},
                                    {"PFX.path", folder_.path()},
                                    {"PFX.file", "signer.pfx"},
                                    {"PFX.pswd", testing::PfxPlan{}.password},
                                    {"PSWD.license", std::string(64, 'A')}};
  folder_.write("signer.pfx", testing::makePfx({.identity = stage().signer(KeyKind::kRsa2048)}));
  const testing::Identity root = testing::makeIdentity(testing::caPlan("Start Root"));
  const std::vector<std::string> serials = manySerials();
  for (int i = 0; i < 10; ++i) {
    const std::string title = formatted("P7B%d", i);
    const testing::Identity ca = testing::makeIdentity(testing::caPlan("CA of " + title, root));
    folder_.write(title + ".p7b", testing::makeP7b({ca.certificate, root.certificate}));
    properties[title + ".name"] = title + ".p7b";
    properties[title + ".SKI"] = testing::subjectKeyIdOf(ca.certificate);
    const std::string crl = testing::makeCrl({.issuer = ca, .serials = serials});
    for (int j = 0; j < 5; ++j) {
      const std::string name = title + formatted("-%d.crl", j);
      folder_.write(name, crl);
      properties[title + formatted(".crlFile%d", j)] = name;
    }
  }
  propertyFile_ = folder_.write("start.properties", testing::propertyText(properties));
}

void StartFiles::parseWithLibcrypto() const {
  for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
    const std::string extension = file.path().extension();
    if (extension == ".pfx") parsePfx(readWhole(file.path()));
    if (extension == ".p7b") static_cast<void>(testing::decode<d2i_PKCS7>(readWhole(file.path())));
    if (extension == ".crl") static_cast<void>(testing::decode<d2i_X509_CRL>(readWhole(file.path())));
  }
}

}  // namespace zepasign::bench
