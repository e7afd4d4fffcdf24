// The few DER elements (X.690) that are read and written around content which is never copied into a structure. Headers
// are written and read by the crypto library.
//
//   element    header | content            header    identifier (1 byte for the tags here) | length (1 to 5 bytes)
//
// Thread rule: any thread may call the functions; a Buffer and a Reader belong to one thread at a time.
#ifndef ZEPASIGN_PKI_DER_H_
#define ZEPASIGN_PKI_DER_H_

#include <initializer_list>
#include <span>
#include <vector>

#include "pki/openssl.h"

namespace zepasign::der {

// Bytes: borrowed bytes. Buffer: owned ones.
using Bytes = std::span<const unsigned char>;
using Buffer = std::vector<unsigned char>;

// Tag: what an element's header says besides the length.
struct Tag {
  int constructed;  // 1: the content is made of elements
  int number;       // below 31, so that the identifier is one byte
  int tagClass;
};
inline constexpr Tag kSequence{1, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL};
inline constexpr Tag kSet{1, V_ASN1_SET, V_ASN1_UNIVERSAL};
inline constexpr Tag kOctetString{0, V_ASN1_OCTET_STRING, V_ASN1_UNIVERSAL};
inline constexpr Tag kContext0{1, 0, V_ASN1_CONTEXT_SPECIFIC};

// identifierOf: the first byte of such an element.
[[nodiscard]] constexpr unsigned char identifierOf(const Tag& tag) noexcept {
  return static_cast<unsigned char>(tag.tagClass | (tag.constructed * V_ASN1_CONSTRUCTED) | tag.number);
}

// kMaxHeaderSize: around content of at most INT_MAX bytes: the identifier, a byte that counts the length's bytes, and
// four of those.
inline constexpr std::size_t kMaxHeaderSize = 6;

// sizeOf: bytes of an element, its header included, around `size` bytes. REQUIRES: size + kMaxHeaderSize <= INT_MAX.
[[nodiscard]] std::size_t sizeOf(const Tag& tag, std::size_t size);

// append: adds the bytes at the end.
void append(Buffer& out, Bytes bytes);
// appendHeader: the header of an element whose `size` bytes follow. REQUIRES: size <= INT_MAX.
void appendHeader(Buffer& out, const Tag& tag, std::size_t size);
// element: one element around the parts. REQUIRES: the parts together have at most INT_MAX - kMaxHeaderSize bytes.
// Throws std::bad_alloc, as the two functions above do.
[[nodiscard]] Buffer element(const Tag& tag, std::initializer_list<Bytes> parts);

// Reader: reads the elements of a DER encoding one after the other. A step on an invalid encoding gives nothing and
// leaves nothing to read. The bytes are borrowed and must outlive the reader and what it gave.
class Reader final {
 public:
  explicit Reader(Bytes encoding) : rest_(encoding) {}

  // enter: skips the header of the next element; what follows is its content.
  void enter();
  // take: the next element, header included.
  [[nodiscard]] Bytes take();
  // takeIf: as take if the next element has that tag, else empty.
  [[nodiscard]] Bytes takeIf(const Tag& tag);

 private:
  // rest_: what is still unread. contentSize_: bytes of content of the element that was entered last.
  Bytes rest_;
  std::size_t contentSize_ = 0;
};

}  // namespace zepasign::der

#endif  // ZEPASIGN_PKI_DER_H_
