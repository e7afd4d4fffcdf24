#include "fuzz/fuzz_support.h"

namespace zepasign::fuzz {
namespace {

// The signer has an EC key, which signs faster than RSA.
struct FuzzFixture : demo::Fixture {
  FuzzFixture() : Fixture(demo::newEcKey()) {
    directory.write("chained.pfx", demo::makePfx({.identity = signer, .caCertificates = {ca.certificate}}));
    addChain();
    properties["LOG.level"] = "OFF";
    properties["PKCS7.addCert"] = "2";
  }
};

}  // namespace

const demo::Fixture& fixture() {
  static const FuzzFixture theFixture;
  return theFixture;
}

}  // namespace zepasign::fuzz
