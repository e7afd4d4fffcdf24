// OwnedText: a C string that belongs to the library and that the host reads.
//
// The block is of std::malloc's family; the host must not free it. There is no destructor: the host may still read the
// texts while the process ends, after the signer is gone. A field that must not outlive the signer is freed by reset.
//
// Texts are not wiped when they are freed, so no secret belongs in one. One thread at a time.
#ifndef ZEPASIGN_API_OWNEDTEXT_H_
#define ZEPASIGN_API_OWNEDTEXT_H_

#include <cstdlib>
#include <string>

#include "base/cchars.h"

namespace zepasign {

// OwnedText: constant-initialised as no text. It must not be copied: two copies would free one block.
class OwnedText final {
 public:
  // get: borrowed; null when there is no text, valid until the text is replaced.
  [[nodiscard]] char* get() const noexcept { return text_; }
  // adopt: takes over a block that std::free frees, and frees the previous one. REQUIRES: `block` is null or a
  // NUL-terminated text that nobody else frees.
  void adopt(char* block) noexcept {
    std::free(text_);
    text_ = block;
  }
  // reset: frees the text; get returns null afterwards.
  void reset() noexcept { adopt(nullptr); }
  // assign: replaces the text by a copy with kTextSpare zeros behind it. Throws std::bad_alloc; then the old text
  // stays.
  void assign(const std::string& text);

 private:
  char* text_ = nullptr;
};

}  // namespace zepasign

#endif  // ZEPASIGN_API_OWNEDTEXT_H_
