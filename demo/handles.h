// What this folder's sources share in talking to libcrypto.
#ifndef ZEPASIGN_DEMO_HANDLES_H_
#define ZEPASIGN_DEMO_HANDLES_H_

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "pki/openssl.h"

namespace zepasign::demo {

// Owned: a handle of a type for which the library itself has no alias.
template <auto Free, class T>
using Owned = std::unique_ptr<T, FreeWith<Free>>;

// must: the pointer or the flag itself; throws with OpenSSL's reason when it says failure.
template <class T>
T must(T result, const char* what) {
  if (result) return result;
  const char* reason = ERR_reason_error_string(ERR_peek_last_error());
  ERR_clear_error();
  throw std::runtime_error(std::string(what) + ": " + (reason ? reason : "no reason"));
}

// encode: the DER bytes of any type that has an i2d function.
template <auto ToDer, class T>
std::string encode(const T* object) {
  std::string der(static_cast<std::size_t>(must(std::max(ToDer(object, nullptr), 0), "DER")), '\0');
  auto* bytes = reinterpret_cast<unsigned char*>(der.data());
  ToDer(object, &bytes);
  return der;
}

// decode: the object that the DER bytes hold.
template <auto FromDer>
auto decode(const std::string& der) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  return must(FromDer(nullptr, &bytes, static_cast<long>(der.size())), "DER");
}

// serialOf: from hexadecimal digits, "-" before a negative number.
inline Owned<ASN1_INTEGER_free, ASN1_INTEGER> serialOf(const std::string& hex) {
  const std::string text = hex.starts_with('-') ? "-0x" + hex.substr(1) : "0x" + hex;
  return Owned<ASN1_INTEGER_free, ASN1_INTEGER>(must(s2i_ASN1_INTEGER(nullptr, text.c_str()), "serial"));
}

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_HANDLES_H_
