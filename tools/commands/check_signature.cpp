// ConfigCheck on what a trial signature really carries, which settings alone do not tell: the chain of the PFX comes
// before that of a P7B, whether it leads anywhere or not.
#include "base/propertykeys.h"
#include "pki/cx509.h"
#include "tools/commands/check.h"
#include "tools/files/describe.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

struct Path {
  bool reachesRoot = false;
  std::string last = {};  // the name of the topmost certificate
};

// pathAmong: from the signer to a self-signed certificate, through the carried certificates alone. Dates do not matter
// here, they have findings of their own.
Path pathAmong(STACK_OF(X509) * carried, X509* signer) {
  const ErrorScope errors;
  const X509StorePtr roots(X509_STORE_new());
  for (int i = 0; i < sk_X509_num(carried); ++i) {
    X509* each = sk_X509_value(carried, i);
    if (X509_self_signed(each, 1) == 1) X509_STORE_add_cert(roots.get(), each);
  }
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (!context || X509_STORE_CTX_init(context.get(), roots.get(), signer, carried) != 1) return {};
  X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_NO_CHECK_TIME);
  const bool reachesRoot = X509_verify_cert(context.get()) == 1;
  const STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(context.get());
  const int length = sk_X509_num(chain);
  return {reachesRoot, length > 0 ? nameText(X509_get_subject_name(sk_X509_value(chain, length - 1))) : ""};
}

}  // namespace

void ConfigCheck::examineSignature(PKCS7* signature) {
  constexpr int kWithChain = 2;
  STACK_OF(X509)* carried = certificatesOf(signature);
  X509* signer = credential_.certificate();
  if (sk_X509_num(carried) <= 0 || signer == nullptr) return;
  if (input_.settings.getPropertyInt(keys::kAddCert) < kWithChain)
    return add("signature-signer-only"_finding, keys::kAddCert);
  const Path path = pathAmong(carried, signer);
  path.reachesRoot ? add("signature-good"_finding, keys::kAddCert, {path.last}) : explainMissingChain(path.last);
}

void ConfigCheck::explainMissingChain(const std::string& last) {
  const std::string issuerKey = cX509(credential_.certificate()).getAuthorityKeyId();
  if (sk_X509_num(credential_.caCerts()) > 0) {
    const bool hidesChain = chains_.holds(issuerKey);
    const std::string path = cPkcs12::pathOf(value(keys::kPfxPath), value(keys::kPfxFile));
    return add(hidesChain ? "pfx-hides-chain"_finding : "pfx-chain-incomplete"_finding, keys::kPfxFile, {toUtf8(path)});
  }
  if (issuerKey.empty()) return add("signature-without-issuer-key"_finding, keys::kAddCert);
  if (chains_.holds(issuerKey)) return add("signature-chain-incomplete"_finding, keys::kAddCert, {last});
  add("signature-without-chain"_finding, keys::kAddCert, {issuerKey});
}

}  // namespace zepasign::tools
