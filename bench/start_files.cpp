#include "bench/start_files.h"

#include "bench/job.h"
#include "bench/measure.h"
#include "demo/handles.h"

namespace zepasign::bench {
namespace {

std::vector<std::string> manySerials() {
  std::vector<std::string> serials;
  for (int i = 0; i < 10000; ++i) serials.push_back(formatted("1000%08X", i * 7919));
  return serials;
}

void parsePfx(const std::string& der) {
  const Pkcs12Ptr pfx(demo::decode<d2i_PKCS12>(der));
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  require(PKCS12_parse(pfx.get(), demo::PfxPlan{}.password.c_str(), &key, &certificate, nullptr) == 1, "the PFX");
}

}  // namespace

StartFiles::StartFiles() {
  demo::Properties& properties = files_.properties;
  properties["LOG.level"] = "OFF";
  properties["P7B.path"] = properties["CRL.path"] = files_.directory.path();
  const std::vector<std::string> serials = manySerials();
  for (int i = 0; i < 10; ++i) {
    const std::string title = formatted("P7B%d", i);
    const demo::Identity ca = demo::makeIdentity(demo::caPlan("CA of " + title, files_.root));
    files_.directory.write(title + ".p7b", demo::makeP7b({ca.certificate, files_.root.certificate}));
    properties[title + ".name"] = title + ".p7b";
    properties[title + ".SKI"] = demo::subjectKeyIdOf(ca.certificate);
    const std::string crl = demo::makeCrl({.issuer = ca, .serials = serials});
    for (int j = 0; j < 5; ++j) {
      const std::string name = title + formatted("-%d.crl", j);
      files_.directory.write(name, crl);
      properties[title + formatted(".crlFile%d", j)] = name;
    }
  }
  propertyFile_ = files_.propertyFile();
}

void StartFiles::parseWithLibcrypto() const {
  for (const auto& [key, name] : files_.properties) {
    const auto bytes = [this, &name = name] { return demo::readFile(files_.directory.path(name)); };
    if (name.ends_with(".pfx")) parsePfx(bytes());
    if (name.ends_with(".p7b")) static_cast<void>(demo::decode<d2i_PKCS7>(bytes()));
    if (name.ends_with(".crl")) static_cast<void>(demo::decode<d2i_X509_CRL>(bytes()));
  }
}

}  // namespace zepasign::bench
