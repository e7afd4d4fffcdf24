// A chain file: decoding, self-verification, its dump in the log, and the climb to the root. The input is the file;
// then its bytes choose from a pool the certificates of a file whose signatures are right, which chance does not find.
#include <set>

#include "base/cproperty.h"
#include "fuzz/fuzz_support.h"
#include "pki/ccertchainlist.h"
#include "pki/openssl.h"

namespace {

using zepasign::fuzz::require;
using zepasign::fuzz::stage;
using zepasign::testing::Certificate;

// loadAndClimb: the chain that is found for the signer holds no certificate twice.
void loadAndClimb(const std::string& file, const std::string& ski, const Certificate& signer) {
  const zepasign::CryptoScope scope;
  static const zepasign::testing::TempFolder folder;
  folder.write("fuzz.p7b", file);
  zepasign::cProperty property;
  const std::string lines = "P7B.path = " + folder.path() + "\nP7B0.name = fuzz.p7b\nP7B0.SKI = " + ski + "\n";
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
// that lack or contradict what a chain is climbed by.
std::vector<Certificate> makePool() {
  using namespace zepasign::testing;
  const Identity& root = stage().root;
  const Identity otherRoot = makeIdentity(caPlan("Other Root"));
  const Identity ca = makeIdentity(caPlan("CA", root));
  const Identity circle = makeIdentity(caPlan("Circle"));
  const Identity opposite = makeIdentity(caPlan("Opposite", circle));
  std::vector<Certificate> pool = {root.certificate, otherRoot.certificate, ca.certificate, opposite.certificate,
                                   stage().signer.certificate};
  const auto add = [&pool](CertPlan plan, const Identity& holder, void (*change)(CertPlan&)) {
    plan.key = holder.key;
    change(plan);
    pool.push_back(makeIdentity(plan).certificate);
  };
  const auto asItIs = [](CertPlan&) {};
  add(caPlan("CA", otherRoot), ca, asItIs);
  add(caPlan("Circle", opposite), circle, asItIs);
  add(caPlan("CA", root), ca, [](CertPlan& plan) { plan.subjectKeyId = ""; });
  add(caPlan("CA", root), ca, [](CertPlan& plan) { plan.authorityKeyId = ""; });
  add(caPlan("CA", root), ca, [](CertPlan& plan) { plan.keyUsage = ""; });
  add(caPlan("CA", root), ca, [](CertPlan& plan) { plan.notAfter = "20210101000000Z"; });
  add(caPlan("Fuzz Root"), root, [](CertPlan& plan) { plan.keyUsage = "digitalSignature"; });
  add(signerPlan(ca), stage().signer, asItIs);
  add(signerPlan(opposite), stage().signer, asItIs);
  return pool;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  loadAndClimb(zepasign::fuzz::textOf(data, size), zepasign::testing::subjectKeyIdOf(stage().root.certificate),
               stage().signer.certificate);
  static const std::vector<Certificate> pool = makePool();
  constexpr std::size_t kLongest = 8;
  std::vector<Certificate> chosen;
  for (std::size_t i = 0; i < std::min(size, kLongest); ++i) chosen.push_back(pool[data[i] % pool.size()]);
  if (chosen.size() < 3) return 0;
  loadAndClimb(zepasign::testing::makeP7b({chosen.begin() + 2, chosen.end()}),
               zepasign::testing::subjectKeyIdOf(chosen[0]), chosen[1]);
  return 0;
}
