// What the fuzzers share.
#ifndef ZEPASIGN_FUZZ_FUZZ_SUPPORT_H_
#define ZEPASIGN_FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "demo/fixture.h"

namespace zepasign::fuzz {

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// fixture: the files and properties with which initialisation succeeds and is silent, made once per process. Beside
// "signer.pfx" its directory holds "chained.pfx", which has the CA's certificate too.
[[nodiscard]] const demo::Fixture& fixture();

// require: ends the fuzzer with a report when something that must hold does not.
inline void require(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace zepasign::fuzz

#endif  // ZEPASIGN_FUZZ_FUZZ_SUPPORT_H_
