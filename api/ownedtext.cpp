#include "api/ownedtext.h"

#include <new>

namespace zepasign {

void OwnedText::assign(const std::string& text) {
  auto* block = static_cast<char*>(std::calloc(text.size() + kTextSpare, 1));
  if (block == nullptr) throw std::bad_alloc();
  text.copy(block, text.size());
  adopt(block);
}

}  // namespace zepasign
