#include "base/cleanse.h"

#include <openssl/crypto.h>

namespace zepasign {

void cleanse(void* data, std::size_t size) noexcept { OPENSSL_cleanse(data, size); }

}  // namespace zepasign
