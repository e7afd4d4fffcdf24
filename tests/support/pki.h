// What stands in the signatures that the library makes, beside the keys, certificates and files of the demo.
#ifndef ZEPASIGN_TESTS_SUPPORT_PKI_H_
#define ZEPASIGN_TESTS_SUPPORT_PKI_H_

#include <string>
#include <vector>

#include "demo/fixture.h"

namespace zepasign::testing {

using namespace demo;

// SignatureFacts: what stands in a signed-data structure about its first signer.
struct SignatureFacts {
  std::string digest = {};  // short name, "SHA256"
  bool detached = false;
  std::vector<std::string> certificates = {};  // DER, in the order of the structure; compare with derOf
  std::vector<std::string> attributes = {};    // short names of the signed attributes, in order
};

// factsOf: reads the DER of a signature; throws when it is no signed data.
[[nodiscard]] SignatureFacts factsOf(const std::string& der);

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_PKI_H_
