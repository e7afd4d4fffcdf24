// What the fuzzers share.
#ifndef ZEPASIGN_FUZZ_FUZZ_SUPPORT_H_
#define ZEPASIGN_FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/support/files.h"
#include "tests/support/pki.h"

namespace zepasign::fuzz {

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Stage: a signer's PFX (password "pfx-password") without and with the CA, its chain and a CRL in a folder of its own,
// made once per process.
struct Stage {
  testing::TempFolder folder = {};
  testing::Identity root;
  testing::Identity signer;

  Stage();
  // properties: with which initialisation succeeds and is silent.
  [[nodiscard]] testing::Properties properties() const;
};
[[nodiscard]] const Stage& stage();

// require: ends the fuzzer with a report when a promise does not hold.
inline void require(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace zepasign::fuzz

#endif  // ZEPASIGN_FUZZ_FUZZ_SUPPORT_H_
