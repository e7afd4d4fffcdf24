// Conversion of text from Big5 into the encoding in which it is to be signed.
#ifndef ZEPASIGN_BASE_CHARSET_H_
#define ZEPASIGN_BASE_CHARSET_H_

#include "base/cbytes.h"

namespace zepasign {

// convertUniCodeStringToAny: fills `output` with a NUL-terminated Big5 text in the encoding `target` names, without a
// byte-order mark. The target "BIG5" (any letter case) validates the text and gives its own bytes: a converter may fold
// duplicate codes onto one another, and a signature over folded bytes would not match the caller's document. False for
// an unknown target or an invalid text, `output` being empty then, and for an empty text or a missing buffer. `errno`
// is the converter's. Throws std::bad_alloc when there is no memory or the result passes the 32-bit length.
[[nodiscard]] bool convertUniCodeStringToAny(const char* text, const char* target, cBytes* output);

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CHARSET_H_
