#include "base/cchars.h"

#include "base/base64.h"

namespace zepasign {

bool cChars::setHex(const unsigned char* source, int length) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  if (source == nullptr || length < 1) return false;
  replace(2 * static_cast<std::size_t>(length));
  char* out = data();
  for (int i = 0; i < length; ++i) {
    *out++ = kDigits[source[i] >> 4U];
    *out++ = kDigits[source[i] & 0xFU];
  }
  return true;
}

bool cChars::base64Encode(const unsigned char* source, int length) {
  clear();
  if (source == nullptr || length < 1) return false;
  const auto size = static_cast<std::size_t>(length);
  replace(base64::encodedLength(size));
  base64::Encoder encoder(data());
  encoder.add({source, size});
  encoder.finish();
  return true;
}

}  // namespace zepasign
