#include "api/zepasign.h"

#include <new>

namespace zepasign {

void OwnedText::assign(const std::string& text) {
  constexpr std::size_t kSpare = 5;
  auto* block = static_cast<char*>(std::calloc(text.size() + kSpare, 1));
  if (block == nullptr) throw std::bad_alloc();
  text.copy(block, text.size());
  adopt(block);
}

// ~ZEPASign: the digest's name and the texts handed out stay, the process is ending.
ZEPASign::~ZEPASign() {
  delete signedData_;
  delete pkcs12_;
  signerFilter_.reset();
}

char* ZEPASign::errorMessage() {
  queryResult_.reset();
  queryResult_.assign(errorCodeToMessage(errorCode_));
  return queryResult_.get();
}

}  // namespace zepasign
