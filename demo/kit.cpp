#include "demo/kit.h"

#include <openssl/rand.h>

#include <ctime>

#include "demo/containers.h"
#include "demo/handles.h"

namespace zepasign::demo {
namespace {

constexpr long kYear = 365L * 24 * 60 * 60;

// timeIn: that many seconds from now, as a certificate writes it.
std::string timeIn(long seconds) {
  const Owned<ASN1_TIME_free, ASN1_TIME> time(must(X509_gmtime_adj(nullptr, seconds), "time"));
  return reinterpret_cast<const char*>(ASN1_STRING_get0_data(time.get()));
}

// asOfNow: a random serial, valid from now on: the signer for a year, the authorities for ten.
void asOfNow(CertPlan& plan) {
  plan.serial = randomHex(7);
  plan.notBefore = timeIn(0);
  plan.notAfter = timeIn(plan.basicConstraints.empty() ? kYear : 10 * kYear);
}

}  // namespace

Kit makeKit() {
  const auto [root, ca, signer] = makePki({.organization = "zepasign demo",
                                           .rootName = "zepasign demo root",
                                           .caName = "zepasign demo CA",
                                           .signerName = "zepasign demo signer",
                                           .signerKey = newRsaKey(),
                                           .change = asOfNow});
  return {makePfx({.identity = signer, .password = kPassword, .iterations = PKCS12_DEFAULT_ITER}),
          makeP7b({ca.certificate, root.certificate}),
          makeCrl({.issuer = ca, .lastUpdate = timeIn(0), .nextUpdate = timeIn(kYear)}),
          pemOf("CERTIFICATE", derOf(ca.certificate)) + pemOf("CERTIFICATE", derOf(root.certificate)),
          subjectKeyIdOf(ca.certificate)};
}

std::string randomHex(std::size_t bytes) {
  std::string random(bytes, '\0');
  auto* data = reinterpret_cast<unsigned char*>(random.data());
  must(RAND_bytes(data, static_cast<int>(bytes)) == 1, "random bytes");
  std::string hex(2 * bytes + 1, '\0');
  must(OPENSSL_buf2hexstr_ex(hex.data(), hex.size(), nullptr, data, bytes, '\0'), "random bytes");
  hex.pop_back();
  return hex;
}

}  // namespace zepasign::demo
