// The signer filter against a certificate with several entries of a kind.
#include "base/errors.h"
#include "fuzz/fuzz_support.h"
#include "pki/cpkcs12.h"

namespace {

// loadCredential: the signer is reached through a file alone.
int loadCredential(zepasign::cPkcs12& credential) {
  using namespace zepasign::demo;
  const TempDirectory directory;
  CertPlan plan = caPlan("A/CN=Chen/O=C");
  plan.subject.insert(plan.subject.begin(),
                      {{"DC", "tw"}, {"C", "TW"}, {"O", "A"}, {"O", "B"}, {"OU", "A"}, {"OU", "B"}});
  directory.write("signer.pfx", makePfx({.identity = makeIdentity(plan)}));
  return credential.loadPfxFile(directory.path().c_str(), "signer.pfx", PfxPlan{}.password.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static zepasign::cPkcs12 credential;
  static const int loaded = loadCredential(credential);
  zepasign::fuzz::require(loaded == zepasign::kSuccess);
  const std::string filter = zepasign::fuzz::textOf(data, size);
  const int code = credential.checkSignerFilter(filter.c_str());
  zepasign::fuzz::require(code == zepasign::kSuccess || code == zepasign::kCertificateNotFound);
  return 0;
}
