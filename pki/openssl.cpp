#include "pki/openssl.h"

#include "base/big5.h"
#include "base/clog.h"

namespace zepasign {

std::string OwnErrors::firstText() const {
  const unsigned long code = hostHasErrors_ ? ERR_peek_last_error() : ERR_peek_error();
  char text[256];
  ERR_error_string_n(code, text, sizeof text);
  return code == 0 ? "" : text;
}

cCryptoContext::cCryptoContext() : context_(OSSL_LIB_CTX_new()) {
  if (!context_) return;  // every export reports it
  const ErrorQueueMark mark;
  defaultProvider_.reset(OSSL_PROVIDER_load(context_.get(), "default"));
  legacyProvider_.reset(OSSL_PROVIDER_load(context_.get(), "legacy"));
  sha1_.reset(EVP_MD_fetch(context_.get(), "SHA1", nullptr));
  sha256_.reset(EVP_MD_fetch(context_.get(), "SHA256", nullptr));
  if (!legacyProvider_) logText(kWarn, "OpenSSL legacy provider 無法載入, 無法讀取 RC2-40 加密的 pfx 檔"_big5);
}

}  // namespace zepasign
