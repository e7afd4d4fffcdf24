// The crypto library as this library uses it: owning handles, and a library context of our own, so that the host in the
// same process keeps its default context, its providers and its error queue as it left them.
#ifndef ZEPASIGN_PKI_OPENSSL_H_
#define ZEPASIGN_PKI_OPENSSL_H_

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/pkcs7.h>
#include <openssl/provider.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

namespace zepasign {

// Handles: one alias per C type, and no free call anywhere else.
template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* p) const noexcept {
    Free(p);
  }
};
// freeStackOnly: the list, not the certificates in it.
inline void freeStackOnly(STACK_OF(X509) * stack) noexcept { sk_X509_free(stack); }
inline void freeOpenSslText(char* text) noexcept { OPENSSL_free(text); }
inline void freeOpenSslBytes(unsigned char* bytes) noexcept { OPENSSL_free(bytes); }

using AuthorityKeyIdPtr = std::unique_ptr<AUTHORITY_KEYID, FreeWith<AUTHORITY_KEYID_free>>;
using BigNumPtr = std::unique_ptr<BIGNUM, FreeWith<BN_free>>;
using BioPtr = std::unique_ptr<BIO, FreeWith<BIO_free_all>>;
using BitStringPtr = std::unique_ptr<ASN1_BIT_STRING, FreeWith<ASN1_BIT_STRING_free>>;
using CrlDistPointsPtr = std::unique_ptr<CRL_DIST_POINTS, FreeWith<CRL_DIST_POINTS_free>>;
using DigestPtr = std::unique_ptr<EVP_MD, FreeWith<EVP_MD_free>>;
using EvpPkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, FreeWith<EVP_PKEY_CTX_free>>;
using EvpPkeyPtr = std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>>;
using LibCtxPtr = std::unique_ptr<OSSL_LIB_CTX, FreeWith<OSSL_LIB_CTX_free>>;
using OctetStringPtr = std::unique_ptr<ASN1_OCTET_STRING, FreeWith<ASN1_OCTET_STRING_free>>;
using OpenSslBytesPtr = std::unique_ptr<unsigned char, FreeWith<freeOpenSslBytes>>;
using OpenSslTextPtr = std::unique_ptr<char, FreeWith<freeOpenSslText>>;
using Pkcs12Ptr = std::unique_ptr<PKCS12, FreeWith<PKCS12_free>>;
using Pkcs7Ptr = std::unique_ptr<PKCS7, FreeWith<PKCS7_free>>;
using ProviderPtr = std::unique_ptr<OSSL_PROVIDER, FreeWith<OSSL_PROVIDER_unload>>;
using X509CrlPtr = std::unique_ptr<X509_CRL, FreeWith<X509_CRL_free>>;
using X509Ptr = std::unique_ptr<X509, FreeWith<X509_free>>;
using X509StackPtr = std::unique_ptr<STACK_OF(X509), FreeWith<freeStackOnly>>;
using X509StorePtr = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using X509StoreCtxPtr = std::unique_ptr<X509_STORE_CTX, FreeWith<X509_STORE_CTX_free>>;

// ErrorQueueMark: what is queued inside this scope is gone when it ends; the host's entries stay.
class ErrorQueueMark final {
 public:
  ErrorQueueMark() noexcept { ERR_set_mark(); }
  ~ErrorQueueMark() { ERR_pop_to_mark(); }
  ErrorQueueMark(const ErrorQueueMark&) = delete;
  ErrorQueueMark& operator=(const ErrorQueueMark&) = delete;
};

// OwnErrors: an ErrorQueueMark that can tell what went wrong inside its scope: of all errors queued since, or of the
// last one alone when entries of the host stand in front.
class OwnErrors final {
 public:
  OwnErrors() noexcept;
  [[nodiscard]] bool none() noexcept { return first() == 0; }
  // firstText: the first of them as the crypto library prints it; empty when there is none.
  [[nodiscard]] std::string firstText();
  // throwIfMemoryLacks: throws std::bad_alloc when one of them is a lack of memory. Whatever failed for that reason
  // must not pass for absent, wrong or damaged.
  void throwIfMemoryLacks();

 private:
  unsigned long first() noexcept;

  bool hostHasErrors_ = ERR_peek_error() != 0;
  unsigned long first_ = 0;
  ErrorQueueMark mark_;
};

// cCryptoContext: the library context with the default and the legacy provider, and the digests fetched from it once.
// PFX files of older software need the legacy provider (RC2-40); where it is not installed, a log line says so.
class cCryptoContext final {
 public:
  cCryptoContext();

  [[nodiscard]] OSSL_LIB_CTX* get() const noexcept { return context_.get(); }
  // sha1, sha256: borrowed; null when the crypto library has none.
  [[nodiscard]] const EVP_MD* sha1() const noexcept { return sha1_.get(); }
  [[nodiscard]] const EVP_MD* sha256() const noexcept { return sha256_.get(); }

 private:
  LibCtxPtr context_;
  ProviderPtr defaultProvider_;
  ProviderPtr legacyProvider_;
  DigestPtr sha1_;
  DigestPtr sha256_;
};

// cryptoContext: the one context of the process; made when the library is loaded.
extern cCryptoContext cryptoContext;

// CryptoScope: makes our context the calling thread's default and puts the host's back at the end, its error queue too.
// Every export runs inside one; within it the crypto library's calls need no context argument.
class CryptoScope final {
 public:
  CryptoScope() noexcept : host_(OSSL_LIB_CTX_set0_default(cryptoContext.get())) {}
  ~CryptoScope() { OSSL_LIB_CTX_set0_default(host_); }
  CryptoScope(const CryptoScope&) = delete;
  CryptoScope& operator=(const CryptoScope&) = delete;

  // isOpen: false when there was no memory for our context; the host's must not be used in its stead.
  [[nodiscard]] bool isOpen() const noexcept { return cryptoContext.get() != nullptr; }

 private:
  ErrorQueueMark mark_;
  OSSL_LIB_CTX* host_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_OPENSSL_H_
