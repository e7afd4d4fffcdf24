// OwnedText: a C string that belongs to the library and that the host reads.
//
// The block is of std::malloc's family; the host must not free it. There is no destructor: the host may still read the
// texts while the process ends, after the signer is gone.
#ifndef ZEPASIGN_API_OWNEDTEXT_H_
#define ZEPASIGN_API_OWNEDTEXT_H_

#include <cstdlib>
#include <string>

#include "base/cchars.h"

namespace zepasign {

class OwnedText final {
 public:
  // get: borrowed; null when there is no text, valid until the text is replaced.
  [[nodiscard]] char* get() const noexcept { return text_; }
  // adopt: takes over a block that std::free frees, and frees the previous one.
  void adopt(char* block) noexcept {
    std::free(text_);
    text_ = block;
  }
  void reset() noexcept { adopt(nullptr); }
  // assign: replaces the text by a copy with kTextSpare zeros behind it. Throws std::bad_alloc; then the old text
  // stays.
  void assign(const std::string& text);

 private:
  char* text_ = nullptr;
};

}  // namespace zepasign

#endif  // ZEPASIGN_API_OWNEDTEXT_H_
