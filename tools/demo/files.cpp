#include "tools/demo/files.h"

#include <openssl/rand.h>

#include <ctime>

#include "base/cchars.h"
#include "tools/demo/containers.h"
#include "tools/demo/handles.h"

namespace zepasign::tools {
namespace {

constexpr long kYear = 365L * 24 * 60 * 60;

// timeIn: that many seconds from now, as a certificate writes it.
std::string timeIn(long seconds) {
  const demo::Owned<ASN1_TIME_free, ASN1_TIME> time(demo::made(X509_gmtime_adj(nullptr, seconds), "time"));
  return reinterpret_cast<const char*>(ASN1_STRING_get0_data(time.get()));
}

demo::Identity issue(demo::CertPlan plan, const char* commonName, long seconds) {
  plan.subject = {{"C", "TW"}, {"O", "zepasign demo"}, {"CN", commonName}};
  plan.key = demo::newRsaKey();
  plan.serial = randomHex(7);
  plan.notBefore = timeIn(0);
  plan.notAfter = timeIn(seconds);
  return demo::makeIdentity(plan);
}

}  // namespace

DemoFiles makeDemo() {
  const demo::Identity ca = issue(demo::caPlan(""), "zepasign demo CA", 10 * kYear);
  const demo::Identity signer = issue(demo::signerPlan(ca), "zepasign demo signer", kYear);
  return {demo::makePfx({.identity = signer, .password = kDemoPassword, .iterations = PKCS12_DEFAULT_ITER}),
          demo::makeP7b({ca.certificate}),
          demo::makeCrl({.issuer = ca, .lastUpdate = timeIn(0), .nextUpdate = timeIn(kYear)}),
          demo::pemOf("CERTIFICATE", demo::derOf(ca.certificate)), demo::subjectKeyIdOf(ca.certificate)};
}

std::string randomHex(std::size_t bytes) {
  std::string random(bytes, '\0');
  auto* data = reinterpret_cast<unsigned char*>(random.data());
  demo::made(RAND_bytes(data, static_cast<int>(bytes)) == 1, "random bytes");
  cChars text;
  demo::made(text.setHex(data, static_cast<int>(bytes)), "random bytes");
  return text.data();
}

}  // namespace zepasign::tools
