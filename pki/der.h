// The few DER elements (X.690) that are read and written around content which is never copied into a structure. Headers
// are the crypto library's own.
#ifndef ZEPASIGN_PKI_DER_H_
#define ZEPASIGN_PKI_DER_H_

#include <initializer_list>
#include <span>
#include <vector>

#include "pki/openssl.h"

namespace zepasign::der {

using Bytes = std::span<const unsigned char>;
using Buffer = std::vector<unsigned char>;

// Tag: what an element's header says besides the length.
struct Tag {
  int constructed;
  int number;
  int tagClass;
};
inline constexpr Tag kSequence{1, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL};
inline constexpr Tag kSet{1, V_ASN1_SET, V_ASN1_UNIVERSAL};
inline constexpr Tag kOctetString{0, V_ASN1_OCTET_STRING, V_ASN1_UNIVERSAL};
inline constexpr Tag kContext0{1, 0, V_ASN1_CONTEXT_SPECIFIC};

// sizeOf: bytes of an element, its header included, around `size` bytes. REQUIRES: size + 6 <= INT_MAX.
[[nodiscard]] std::size_t sizeOf(const Tag& tag, std::size_t size);

void append(Buffer& out, Bytes bytes);
// appendHeader: the header of an element whose `size` bytes follow. REQUIRES: size <= INT_MAX.
void appendHeader(Buffer& out, const Tag& tag, std::size_t size);
// element: one element around the parts.
[[nodiscard]] Buffer element(const Tag& tag, std::initializer_list<Bytes> parts);

// Reader: walks over the elements of one DER text. A step on unsound input gives nothing and leaves nothing to read.
class Reader final {
 public:
  explicit Reader(Bytes text) : rest_(text) {}

  // enter: passes the header of the next element and stands at its content.
  void enter();
  // take: passes the next element and gives it whole.
  [[nodiscard]] Bytes take();
  // takeIf: as take when the next element begins with that byte, else empty.
  [[nodiscard]] Bytes takeIf(unsigned char firstByte);

 private:
  Bytes rest_;
  std::size_t contentSize_ = 0;
};

}  // namespace zepasign::der

#endif  // ZEPASIGN_PKI_DER_H_
