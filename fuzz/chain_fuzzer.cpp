// A chain file: decoding, self-verification, its dump in the log, and the climb to the root.
#include "base/cproperty.h"
#include "fuzz/fuzz_support.h"
#include "pki/ccertchainlist.h"
#include "pki/openssl.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zepasign::CryptoScope scope;
  const zepasign::testing::TempFolder folder;
  folder.write("fuzz.p7b", zepasign::fuzz::textOf(data, size));
  zepasign::cProperty property;
  const std::string lines = "P7B.path = " + folder.path() + "\nP7B0.name = fuzz.p7b\nP7B0.SKI = " +
                            zepasign::testing::subjectKeyIdOf(zepasign::fuzz::stage().root.certificate) + "\n";
  zepasign::fuzz::require(property.parse(lines.c_str()));
  zepasign::cCertChainList chains;
  const bool accepted = chains.loadCertChainFiles(&property);
  zepasign::fuzz::require(accepted == !chains.isEmpty());
  const zepasign::X509StackPtr chain = chains.prepareCertChain(zepasign::fuzz::stage().signer.certificate.get());
  zepasign::fuzz::require(chain == nullptr || sk_X509_num(chain.get()) > 0);
  return 0;
}
