#include "pki/openssl.h"

#include <openssl/decoder.h>
#include <openssl/kdf.h>
#include <openssl/rand.h>

#include <new>

#include "base/big5.h"
#include "base/clog.h"

namespace zepasign {

namespace {

// kBoundary: queued behind the host's entries, so that they are not taken for ours.
constexpr int kBoundary = ERR_R_PASSED_INVALID_ARGUMENT;
const unsigned long kBoundaryCode = ERR_PACK(ERR_LIB_USER, 0, kBoundary);

bool isLackOfMemory(unsigned long code) noexcept { return ERR_GET_REASON(code) == ERR_R_MALLOC_FAILURE; }

}  // namespace

OwnErrors::OwnErrors() noexcept {
  if (hostHasErrors_) ERR_raise(ERR_LIB_USER, kBoundary);
}

unsigned long OwnErrors::first() noexcept {
  if (first_ == 0) first_ = hostHasErrors_ ? ERR_peek_last_error() : ERR_peek_error();
  return first_ == kBoundaryCode ? 0 : first_;
}

std::string OwnErrors::firstText() {
  const unsigned long code = first();
  char text[256];
  ERR_error_string_n(code, text, sizeof text);
  return code == 0 ? "" : text;
}

void OwnErrors::throwIfMemoryLacks() {
  bool lacks = isLackOfMemory(first());
  if (!hostHasErrors_) {
    while (const unsigned long code = ERR_get_error()) lacks = lacks || isLackOfMemory(code);
    ERR_clear_error();  // frees what the entries held
  }
  if (lacks) throw std::bad_alloc();
}

namespace {

// fetchAll: has the context make all methods of the kinds that loading, verifying and signing need, and the state of
// its random numbers. What finds no memory when it is made later would be missing for good.
void fetchAll(OSSL_LIB_CTX* context) {
  const auto ignore = [](auto* /*method*/, void* /*argument*/) {};
  EVP_CIPHER_do_all_provided(context, ignore, nullptr);
  EVP_KDF_do_all_provided(context, ignore, nullptr);
  EVP_KEYMGMT_do_all_provided(context, ignore, nullptr);
  EVP_MAC_do_all_provided(context, ignore, nullptr);
  EVP_MD_do_all_provided(context, ignore, nullptr);
  EVP_RAND_do_all_provided(context, ignore, nullptr);
  EVP_SIGNATURE_do_all_provided(context, ignore, nullptr);
  OSSL_DECODER_do_all_provided(context, ignore, nullptr);
  RAND_set_DRBG_type(context, "CTR-DRBG", nullptr, nullptr, nullptr);
}

}  // namespace

cCryptoContext::cCryptoContext() : context_(OSSL_LIB_CTX_new()) {
  if (!context_) return;  // every export reports it
  const ErrorQueueMark mark;
  defaultProvider_.reset(OSSL_PROVIDER_load(context_.get(), "default"));
  legacyProvider_.reset(OSSL_PROVIDER_load(context_.get(), "legacy"));
  fetchAll(context_.get());
  sha1_.reset(EVP_MD_fetch(context_.get(), "SHA1", nullptr));
  sha256_.reset(EVP_MD_fetch(context_.get(), "SHA256", nullptr));
  if (!legacyProvider_) logText(kWarn, "OpenSSL legacy provider 無法載入, 無法讀取 RC2-40 加密的 pfx 檔"_big5);
}

}  // namespace zepasign
