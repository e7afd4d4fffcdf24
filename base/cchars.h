// cChars: an owned text buffer, always a C string when it is not empty, and the encodings that fill it. For the layout
// and what happens when memory runs out see cbuffer.h. What fills a buffer throws std::bad_alloc. One thread at a time
// for each buffer.
#ifndef ZEPASIGN_BASE_CCHARS_H_
#define ZEPASIGN_BASE_CCHARS_H_

#include "base/cbuffer.h"

namespace zepasign {

// kTextSpare: zeros behind each text that a host receives. One would end it; callers depend on the other four.
inline constexpr std::size_t kTextSpare = 5;

class cChars : public cBuffer<char> {
 public:
  cChars() = default;

  // setHex: two upper-case digits a byte. A null or empty source gives false and keeps the old text, unlike
  // cBytes::set: callers depend on it.
  [[nodiscard]] bool setHex(const unsigned char* source, int length);

  // base64Encode: RFC 4648 Base64 on one line. False, and the buffer empty, when there is nothing to encode.
  [[nodiscard]] bool base64Encode(const unsigned char* source, int length);

  // allocate: room for `length` characters and `spare` zeros behind it. A text for a host takes kTextSpare. REQUIRES:
  // `spare` is at least 1, which ends the C string; all of the characters, which have no value yet, are then written
  // through data().
  void allocate(std::size_t length, std::size_t spare) { replaceUnset(length, spare); }
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CCHARS_H_
