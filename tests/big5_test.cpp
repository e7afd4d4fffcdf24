#include "base/big5.h"

#include "tests/support/base.h"

namespace zepasign::testing {

TEST(Big5, TableAgreesWithTheSystemsConverter) {
  const auto byte = [](int value) { return static_cast<char>(value); };
  for (const auto [unicode, code] : kBig5Table) {
    const std::string utf8{byte(0xE0 | unicode >> 12), byte(0x80 | (unicode >> 6 & 0x3F)),
                           byte(0x80 | (unicode & 0x3F))};
    EXPECT_EQ(big5(utf8), (std::string{byte(code >> 8), byte(code & 0xFF)})) << utf8;
  }
}

}  // namespace zepasign::testing
