// The crypto library's objects from and to their DER encoding (X.690), as a string.
//
// Thread rule: one thread at a time per object; a CryptoScope must be open.
#ifndef ZEPASIGN_TOOLS_FILES_DERCODEC_H_
#define ZEPASIGN_TOOLS_FILES_DERCODEC_H_

#include <string>

namespace zepasign::tools {

// fromDer: the object that is exactly these bytes, as in fromDer<d2i_X509, X509Ptr>(bytes); null when they are anything
// else. `Decode` is the crypto library's d2i function of the type, `Pointer` the owner.
template <auto Decode, class Pointer>
[[nodiscard]] Pointer fromDer(const std::string& der) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  const unsigned char* end = bytes + der.size();
  Pointer object(Decode(nullptr, &bytes, static_cast<long>(der.size())));
  if (bytes != end) object.reset();
  return object;
}

// toDer: the encoding of an object, as in toDer<i2d_X509>(certificate); empty when it cannot be encoded. `Encode` is
// the crypto library's i2d function of the type.
template <auto Encode, class T>
[[nodiscard]] std::string toDer(T* object) {
  const int length = Encode(object, nullptr);
  if (length <= 0) return {};
  std::string der(static_cast<std::size_t>(length), '\0');
  auto* bytes = reinterpret_cast<unsigned char*>(der.data());
  Encode(object, &bytes);
  return der;
}

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_DERCODEC_H_
