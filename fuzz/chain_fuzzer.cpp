// A chain file: decoding, verification of its own certificates, its dump in the log, and building the path to the root.
// The input is the file; then its bytes choose from a pool the certificates of a file whose signatures are right, which
// chance does not find.
#include <set>

#include "base/cproperty.h"
#include "fuzz/fuzz_support.h"
#include "pki/ccertchainlist.h"
#include "pki/openssl.h"

namespace {

using zepasign::demo::Certificate;
using zepasign::fuzz::fixture;
using zepasign::fuzz::require;

// loadAndBuild: the chain that is found for the signer holds no certificate twice.
void loadAndBuild(const std::string& file, const std::string& ski, const Certificate& signer) {
  const zepasign::CryptoScope scope;
  static const zepasign::demo::TempDirectory directory;
  directory.write("fuzz.p7b", file);
  zepasign::cProperty property;
  const std::string lines = "P7B.path = " + directory.path() + "\nP7B0.name = fuzz.p7b\nP7B0.SKI = " + ski + "\n";
  require(property.parse(lines.c_str()));
  zepasign::cCertChainList chains;
  const bool accepted = chains.loadCertChainFiles(&property);
  require(accepted == !chains.isEmpty());
  const zepasign::X509StackPtr chain = chains.prepareCertChain(signer.get());
  std::set<const X509*> found;
  for (int i = 0; i < sk_X509_num(chain.get()); ++i) require(found.insert(sk_X509_value(chain.get(), i)).second);
  require(chain == nullptr || !found.empty());
}

// makePool: two roots, a CA below either by the same name and key, two CAs that issued each other, and certificates
// that lack or contradict what a path is built by.
std::vector<Certificate> makePool() {
  using namespace zepasign::demo;
  const Identity& root = fixture().root;
  const Identity otherRoot = makeIdentity(caPlan("Other Root"));
  const Identity& ca = fixture().ca;
  const Identity circle = makeIdentity(caPlan("Circle"));
  const Identity opposite = makeIdentity(caPlan("Opposite", circle));
  std::vector<Certificate> pool = {root.certificate, otherRoot.certificate, ca.certificate, opposite.certificate,
                                   fixture().signer.certificate};
  const auto add = [&pool](CertPlan plan, const Identity& holder, void (*change)(CertPlan&)) {
    plan.key = holder.key;
    change(plan);
    pool.push_back(makeIdentity(plan).certificate);
  };
  const auto asItIs = [](CertPlan&) {};
  add(caPlan("Test CA", otherRoot), ca, asItIs);
  add(caPlan("Circle", opposite), circle, asItIs);
  add(caPlan("Test CA", root), ca, [](CertPlan& plan) { plan.subjectKeyId = ""; });
  add(caPlan("Test CA", root), ca, [](CertPlan& plan) { plan.authorityKeyId = ""; });
  add(caPlan("Test CA", root), ca, [](CertPlan& plan) { plan.keyUsage = ""; });
  add(caPlan("Test CA", root), ca, [](CertPlan& plan) { plan.notAfter = "20210101000000Z"; });
  add(caPlan("Test Root"), root, [](CertPlan& plan) { plan.keyUsage = "digitalSignature"; });
  add(signerPlan(ca), fixture().signer, asItIs);
  add(signerPlan(opposite), fixture().signer, asItIs);
  return pool;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  loadAndBuild(zepasign::fuzz::textOf(data, size), zepasign::demo::subjectKeyIdOf(fixture().ca.certificate),
               fixture().signer.certificate);
  static const std::vector<Certificate> pool = makePool();
  constexpr std::size_t kLongest = 8;
  std::vector<Certificate> chosen;
  for (std::size_t i = 0; i < std::min(size, kLongest); ++i) chosen.push_back(pool[data[i] % pool.size()]);
  if (chosen.size() < 3) return 0;
  loadAndBuild(zepasign::demo::makeP7b({chosen.begin() + 2, chosen.end()}), zepasign::demo::subjectKeyIdOf(chosen[0]),
               chosen[1]);
  return 0;
}
