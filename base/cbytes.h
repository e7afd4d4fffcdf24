// cBytes: an owned byte buffer and the conversions that fill it. For the layout, the two zero bytes behind the content
// and what happens without memory see cbuffer.h. One thread at a time for each buffer.
#ifndef ZEPASIGN_BASE_CBYTES_H_
#define ZEPASIGN_BASE_CBYTES_H_

#include "base/cbuffer.h"

namespace zepasign {

class cBytes : public cBuffer<unsigned char> {
 public:
  cBytes() = default;

  // set: a copy of `length` bytes. False, and the buffer empty, when there is nothing to copy.
  bool set(const void* source, int length);

  // allocate: `length` zero bytes to be filled through data(). False, and the buffer empty, when length is below 1.
  bool allocate(int length);

  // truncate: keeps the first `length` bytes and zeroes the rest. REQUIRES: 0 <= length <= length().
  void truncate(int length) noexcept;

  // setFromHex: two digits a byte in either case; a text that is empty or of odd length gives false. Other characters
  // are not rejected, they give whatever the digit arithmetic yields.
  [[nodiscard]] bool setFromHex(const char* text);

  // base64Decode: RFC 4648 Base64, alone or between two PEM boundaries (RFC 7468) of five or more dashes each side;
  // their labels are not checked. CR, LF and spaces are skipped; a character outside the alphabet counts as the value
  // 65. True when at least one byte was decoded. False with an ERROR line when a boundary is not closed.
  [[nodiscard]] bool base64Decode(const char* text);
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CBYTES_H_
