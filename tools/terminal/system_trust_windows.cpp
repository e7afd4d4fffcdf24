// The crypto library's own file and directory are not used here: they are below C:\usr. Every account of a machine may
// create that directory, and could so decide which servers the other accounts trust.
#include "tools/terminal/system_trust.h"

#include <memory>

#include "pki/openssl.h"
// Last, since it makes macros of X509_NAME and other types of the crypto library.
#include <windows.h>

namespace zepasign::tools {
namespace {

struct CloseStore {
  void operator()(HCERTSTORE store) const noexcept { CertCloseStore(store, 0); }
};
using CertStorePtr = std::unique_ptr<void, CloseStore>;

// addTo: passes over a certificate that the crypto library cannot read, and its error, which would be taken for the
// connection's.
void addTo(X509_STORE* trusted, const CERT_CONTEXT& entry) {
  const unsigned char* der = entry.pbCertEncoded;
  ERR_set_mark();
  const X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(entry.cbCertEncoded)));
  if (certificate) X509_STORE_add_cert(trusted, certificate.get());
  ERR_pop_to_mark();
}

}  // namespace

bool trustSystem(SSL_CTX* context) {
  const CertStorePtr store(CertOpenSystemStoreA(0, "ROOT"));
  if (!store) return false;
  const CERT_CONTEXT* entry = nullptr;
  while ((entry = CertEnumCertificatesInStore(store.get(), entry)) != nullptr) {
    addTo(SSL_CTX_get_cert_store(context), *entry);
  }
  return true;
}

}  // namespace zepasign::tools
