// The crypto library as this library uses it: owning handles, one rule for its errors, and a library context of our
// own.
//
// The host shares the process, and often the crypto library, with us. A call must leave the host's default context, its
// providers and its error queue as they were, and must not be disturbed by what the host has set there. So every export
// runs inside a CryptoScope:
//
//   host's call  ->  CryptoScope: our context is the default, the host's errors are set aside
//                      attempt: one step of the crypto library, with an empty error queue
//                ->  the host's context is the default, its errors are back
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
#include <string_view>

#include "pki/threadregistry.h"

namespace zepasign {

// Handles: one alias per C type, and no free call anywhere else.
// FreeWith: the deleter that calls the C function `Free`. It has no state, so a handle is as large as a plain pointer.
// A null handle frees nothing.
template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* p) const noexcept {
    Free(p);
  }
};
// freeStackOnly, freeStackAndItems: the list alone, and with the certificates in it.
inline void freeStackOnly(STACK_OF(X509) * stack) noexcept { sk_X509_free(stack); }
inline void freeStackAndItems(STACK_OF(X509) * stack) noexcept { sk_X509_pop_free(stack, X509_free); }
inline void freeOpenSslText(char* text) noexcept { OPENSSL_free(text); }
inline void freeOpenSslBytes(unsigned char* bytes) noexcept { OPENSSL_free(bytes); }

// An X509StackPtr owns the list alone: the certificates in it are borrowed and must outlive it. An X509OwnerStackPtr
// owns both.
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
using X509OwnerStackPtr = std::unique_ptr<STACK_OF(X509), FreeWith<freeStackAndItems>>;
using X509Ptr = std::unique_ptr<X509, FreeWith<X509_free>>;
using X509StackPtr = std::unique_ptr<STACK_OF(X509), FreeWith<freeStackOnly>>;
using X509StorePtr = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using X509StoreCtxPtr = std::unique_ptr<X509_STORE_CTX, FreeWith<X509_STORE_CTX_free>>;

// ErrorScope: the errors that the crypto library raises during its lifetime. It empties the calling thread's error
// queue at both ends, so whatever is in the queue is its own; the host's entries are kept elsewhere (see CryptoScope).
// Scopes do not nest: an inner one discards what was raised before it. REQUIRES: a CryptoScope is open in this thread;
// otherwise the host's errors are lost.
class ErrorScope final {
 public:
  ErrorScope() noexcept { ERR_clear_error(); }
  ~ErrorScope() { ERR_clear_error(); }
  ErrorScope(const ErrorScope&) = delete;
  ErrorScope& operator=(const ErrorScope&) = delete;

  // firstText: the first error as the crypto library prints it; empty when there is none.
  [[nodiscard]] std::string firstText() const;
  // throwIfOutOfMemory: throws std::bad_alloc if one of the errors is an allocation failure. Removes them all.
  void throwIfOutOfMemory() const;
};

// attempt: calls `step`, whose result is null or false when it failed, and returns the result. Throws std::bad_alloc if
// the step failed and the crypto library reported an allocation failure, so that callers do not report "missing",
// "wrong password" or "damaged" when memory is short.
//
// The library's rule for allocation failures inside the crypto library is here and nowhere else: a reported one becomes
// std::bad_alloc and so 5002. The crypto library hides a few; then the code of the failed step is returned, and the
// next call tries again. Only what is loaded once per process, the chains, makes a second attempt. `step` takes no
// argument. Its result is returned by value: a pointer that the crypto library hands over is the caller's to free.
// REQUIRES: a CryptoScope is open, and no ErrorScope whose errors are still needed.
template <class Step>
[[nodiscard]] auto attempt(Step step) {
  const ErrorScope errors;
  auto result = step();
  if (!result) errors.throwIfOutOfMemory();
  return result;
}

// cCryptoContext: a library context with the default and the legacy provider, and the digests fetched from it once. PFX
// files of older software need the legacy provider (RC2-40); where it is not installed, a log line says so.
//
// The crypto library keeps random generators for each thread that uses a context, and frees them through the context
// when that thread ends. A context must therefore not be freed before; see ~cCryptoContext.
class cCryptoContext final {
 public:
  // cCryptoContext: makes the context; without memory for it, `enter` tries again.
  cCryptoContext();
  // ~cCryptoContext: frees the context, unless a thread other than the calling one has used it and has not ended yet.
  // Then the context stays in memory, some hundred kilobytes, until the process ends.
  ~cCryptoContext();
  cCryptoContext(const cCryptoContext&) = delete;
  cCryptoContext& operator=(const cCryptoContext&) = delete;

  // enter: notes that the calling thread uses the context, and returns it. Throws std::bad_alloc when there is no
  // memory for the context or the note.
  [[nodiscard]] OSSL_LIB_CTX* enter();

  // digest: for signatures, borrowed; null unless the name is exactly "SHA1" or "SHA256", or when the crypto library
  // has no such digest.
  [[nodiscard]] const EVP_MD* digest(std::string_view name) const noexcept;

 private:
  // make: fetches all algorithms that loading, verifying and signing need, since a fetch that failed later for lack of
  // memory would be remembered by the crypto library for the life of the process. Throws std::bad_alloc; the object
  // has no context then.
  void make();

  // The order matters: members are destroyed from the last to the first, so the digests and providers are freed before
  // their context.
  ThreadRegistry threads_;
  LibCtxPtr context_;
  ProviderPtr defaultProvider_;
  ProviderPtr legacyProvider_;
  DigestPtr sha1_;
  DigestPtr sha256_;
};

// cryptoContext: the one context of the process. The program or library that links this module defines it, after the
// log, to which its constructor may write; the library does so in api/process_state.cpp. It exists from the load of
// that program or library to its unload. Use it from one thread at a time.
extern cCryptoContext cryptoContext;

// HostErrors: empties the calling thread's error queue and, at its end, puts it back as it was, with the host's marks.
class HostErrors final {
 public:
  HostErrors() noexcept;
  ~HostErrors();
  HostErrors(const HostErrors&) = delete;
  HostErrors& operator=(const HostErrors&) = delete;

 private:
  // isSetAside_: whether entries_ holds the host's queue. entries_ owns the texts of the entries during that time.
  bool isSetAside_ = false;
  ERR_STATE entries_{};
};

// CryptoScope: makes our context the calling thread's default and sets the host's errors aside, until its end. Every
// export runs inside one; within it the crypto library's calls need no context argument. Throws std::bad_alloc when
// there is no memory for our context, and in exit handlers that run when the context is destroyed; the host's context
// must not be used instead.
class CryptoScope final {
 public:
  CryptoScope();
  ~CryptoScope() { OSSL_LIB_CTX_set0_default(host_); }
  CryptoScope(const CryptoScope&) = delete;
  CryptoScope& operator=(const CryptoScope&) = delete;

 private:
  // hostErrors_: the first member, so that the host's errors are set aside before our context is entered and put back
  // last. host_: the default context of the thread at the beginning.
  HostErrors hostErrors_;
  OSSL_LIB_CTX* host_ = nullptr;
};

}  // namespace zepasign

#endif  // ZEPASIGN_PKI_OPENSSL_H_
