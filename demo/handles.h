// How libcrypto's functions are called here: a failure throws, an object is freed by its owner, DER is a string. For
// the sources of this directory and for tests that call libcrypto themselves.
//
// The library itself reports failures by codes and log lines instead. Every failure here is a std::runtime_error. Any
// thread may call these functions, each on objects of its own.
//
// Typical use: `must` around each call, and an owner for the object that a call makes.
//
//   const Owned<ASN1_TIME_free, ASN1_TIME> time(must(ASN1_TIME_new(), "time"));
//   must(ASN1_TIME_set_string(time.get(), "20300101000000Z"), "time");
#ifndef ZEPASIGN_DEMO_HANDLES_H_
#define ZEPASIGN_DEMO_HANDLES_H_

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "pki/openssl.h"

namespace zepasign::demo {

// Owned: the owner of a libcrypto object, of a type for which the library itself has no alias. `Free` is libcrypto's
// function that frees the type, as in Owned<ASN1_TIME_free, ASN1_TIME>.
template <auto Free, class T>
using Owned = std::unique_ptr<T, FreeWith<Free>>;

// must: returns the pointer or flag when it says success; else throws std::runtime_error that names `what` and
// OpenSSL's reason, and empties the error queue. Null, 0 and false are failures; a negative number is not, so compare a
// result that can be -1 first. Ownership does not change: an owner takes the pointer that must returns.
template <class T>
T must(T result, const char* what) {
  if (result) return result;
  const char* reason = ERR_reason_error_string(ERR_peek_last_error());
  ERR_clear_error();
  throw std::runtime_error(std::string(what) + ": " + (reason ? reason : "no reason"));
}

// encode: the DER bytes (X.690) of an object, as in encode<i2d_X509>(certificate); throws when it cannot be encoded.
// `ToDer` is libcrypto's i2d function of the type. The object is borrowed.
template <auto ToDer, class T>
std::string encode(const T* object) {
  std::string der(static_cast<std::size_t>(must(std::max(ToDer(object, nullptr), 0), "DER")), '\0');
  auto* bytes = reinterpret_cast<unsigned char*>(der.data());
  ToDer(object, &bytes);
  return der;
}

// decode: the object that the DER bytes hold, as a raw pointer that the caller owns, as in decode<d2i_X509>(der);
// throws when they hold none. `FromDer` is libcrypto's d2i function of the type. Further bytes behind it are ignored.
template <auto FromDer>
auto decode(const std::string& der) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  return must(FromDer(nullptr, &bytes, static_cast<long>(der.size())), "DER");
}

// serialOf: the serial number of a certificate or of a CRL's entry, from hexadecimal digits of any count, "-" before a
// negative number. Throws when there is no digit or a character is none.
inline Owned<ASN1_INTEGER_free, ASN1_INTEGER> serialOf(const std::string& hex) {
  const std::string text = hex.starts_with('-') ? "-0x" + hex.substr(1) : "0x" + hex;
  return Owned<ASN1_INTEGER_free, ASN1_INTEGER>(must(s2i_ASN1_INTEGER(nullptr, text.c_str()), "serial"));
}

}  // namespace zepasign::demo

#endif  // ZEPASIGN_DEMO_HANDLES_H_
