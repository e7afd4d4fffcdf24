// The property file: parsing, and every getter on every key that came out.
#include <stdexcept>

#include "base/cproperty.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = zepasign::fuzz::textOf(data, size);
  zepasign::cProperty property;
  const bool parsed = property.parse(text.c_str());
  const std::string key = text.substr(0, text.find_first_of("=\n"));
  const std::string value = property.getProperty(key.c_str());
  zepasign::fuzz::require(parsed || value.empty());
  static_cast<void>(property.getPropertyBool(key.c_str()));
  try {
    static_cast<void>(property.getPropertyInt(key.c_str()));
  } catch (const std::logic_error&) {  // no number, as promised
  }
  return 0;
}
