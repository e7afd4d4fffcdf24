// The host's error queue is set aside with ERR_get_state, which is deprecated: with the crypto library 3.0 nothing else
// moves a queue together with its marks and its texts (OSSL_ERR_STATE_save is of 3.2 and knows no marks).
#define OPENSSL_SUPPRESS_DEPRECATED
#include "pki/openssl.h"

#include <openssl/decoder.h>
#include <openssl/kdf.h>
#include <openssl/rand.h>

#include <new>

#include "base/big5.h"
#include "base/clog.h"
#include "base/failure.h"

namespace zepasign {

namespace {

// isEmpty: whether a queue, a ring whose newest entry is at `top`, holds no entry.
bool isEmpty(const ERR_STATE& queue) noexcept { return queue.top == queue.bottom; }

// freeTexts: frees what the entries of a queue own.
void freeTexts(const ERR_STATE& queue) noexcept {
  for (int i = 0; i < ERR_NUM_ERRORS; ++i) {
    if ((queue.err_data_flags[i] & ERR_TXT_MALLOCED) != 0) OPENSSL_free(queue.err_data[i]);
    OPENSSL_free(queue.err_file[i]);
    OPENSSL_free(queue.err_func[i]);
  }
}

}  // namespace

std::string ErrorScope::firstText() const {
  const unsigned long code = ERR_peek_error();
  char text[256];  // as long as the crypto library's own buffer for such a text
  ERR_error_string_n(code, text, sizeof text);
  return code == 0 ? "" : text;
}

void ErrorScope::throwIfOutOfMemory() const {
  bool isOutOfMemory = false;
  while (const unsigned long code = ERR_get_error()) {
    isOutOfMemory = isOutOfMemory || ERR_GET_REASON(code) == ERR_R_MALLOC_FAILURE;
  }
  if (isOutOfMemory) throw std::bad_alloc();
}

HostErrors::HostErrors() noexcept {
  ERR_STATE* const queue = ERR_get_state();
  if (queue == nullptr || isEmpty(*queue)) return;
  entries_ = *queue;
  *queue = {};
  isSetAside_ = true;
}

HostErrors::~HostErrors() {
  ERR_clear_error();
  if (!isSetAside_) return;
  ERR_STATE* const queue = ERR_get_state();
  freeTexts(*queue);
  *queue = entries_;
}

// contextEnded: the process ends, and cryptoContext is destroyed; only exit handlers of the host still call.
static constinit bool contextEnded = false;

CryptoScope::CryptoScope() {
  if (contextEnded) throw std::bad_alloc();
  OSSL_LIB_CTX* const own = cryptoContext.enter();
  host_ = OSSL_LIB_CTX_set0_default(own);
  // Without memory for the thread's first entry it does nothing and says nothing.
  if (OSSL_LIB_CTX_set0_default(nullptr) != own) throw std::bad_alloc();
}

namespace {

// fetchAll: fetches all algorithms of the kinds that loading, verifying and signing need, and makes the state of the
// random numbers. The crypto library remembers a fetch that failed, so one allocation failure during a late fetch would
// disable an algorithm for the life of the process.
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

// keptContext: a context that could not be freed; keeps it reachable for tools that look for leaks.
[[maybe_unused]] OSSL_LIB_CTX* keptContext = nullptr;

}  // namespace

// The names of the digests in PKCS7.digest are those of the crypto library.
static constexpr const char* kSha1 = "SHA1";
static constexpr const char* kSha256 = "SHA256";

cCryptoContext::cCryptoContext() {
  if (!prepareToThrow()) return;
  const HostErrors hostErrors;
  try {
    make();
  } catch (const std::bad_alloc&) {  // the next call tries again
  }
}

void cCryptoContext::make() {
  const ErrorScope errors;
  LibCtxPtr context(OSSL_LIB_CTX_new());
  if (!context) throw std::bad_alloc();
  ProviderPtr defaultProvider(OSSL_PROVIDER_load(context.get(), "default"));
  ProviderPtr legacyProvider(OSSL_PROVIDER_load(context.get(), "legacy"));
  // Once more, since not every lack of memory is reported, and the context stays as it is until the process ends.
  if (!legacyProvider) legacyProvider.reset(OSSL_PROVIDER_load(context.get(), "legacy"));
  fetchAll(context.get());
  DigestPtr sha1(EVP_MD_fetch(context.get(), kSha1, nullptr));
  DigestPtr sha256(EVP_MD_fetch(context.get(), kSha256, nullptr));
  errors.throwIfOutOfMemory();
  if (!defaultProvider || !sha1 || !sha256) throw std::bad_alloc();  // they are built in
  context_ = std::move(context);
  defaultProvider_ = std::move(defaultProvider);
  legacyProvider_ = std::move(legacyProvider);
  sha1_ = std::move(sha1);
  sha256_ = std::move(sha256);
  if (!legacyProvider_) logText(kWarn, "OpenSSL legacy provider 無法載入, 無法讀取 RC2-40 加密的 pfx 檔"_big5);
}

cCryptoContext::~cCryptoContext() {
  contextEnded = true;
  if (!threads_.othersLive()) return;
  static_cast<void>(sha256_.release());
  static_cast<void>(sha1_.release());
  static_cast<void>(legacyProvider_.release());
  static_cast<void>(defaultProvider_.release());
  keptContext = context_.release();
}

const EVP_MD* cCryptoContext::digest(std::string_view name) const noexcept {
  if (name == kSha1) return sha1_.get();
  return name == kSha256 ? sha256_.get() : nullptr;
}

OSSL_LIB_CTX* cCryptoContext::enter() {
  if (!context_) make();
  threads_.enter();
  return context_.get();
}

}  // namespace zepasign
