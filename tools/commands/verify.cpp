// zepasign verify: whether signatures are good, who made them, when, and with which chain.
#include "base/cbuffer.h"
#include "base/platform.h"
#include "tools/commands/command_line.h"
#include "tools/files/describe.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/filesystem.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {
namespace {

struct VerifyOptions {
  std::vector<std::string> signatures;
  std::string content;
  std::string authorities;
  bool json = false;
};

// Authorities: the certificates that the user trusts; none of them is asked for when none is given.
struct Authorities {
  X509StorePtr store = X509StorePtr(X509_STORE_new());
  X509ListPtr list = X509ListPtr(sk_X509_new_null());

  [[nodiscard]] bool isEmpty() const { return sk_X509_num(list.get()) == 0; }
  void add(X509* certificate) const {
    X509_STORE_add_cert(store.get(), certificate);
    if (X509_up_ref(certificate) == 1) sk_X509_push(list.get(), certificate);
  }
  void addFile(const std::string& path) const {
    CryptoFile file;
    if (!readCryptoFile(path, file)) return;
    for (const X509Ptr& each : file.certificates) add(each.get());
    const STACK_OF(X509)* others = file.pkcs7 ? certificatesOf(file.pkcs7.get()) : nullptr;
    for (int i = 0; i < sk_X509_num(others); ++i) add(sk_X509_value(others, i));
  }
  void addPath(const std::string& path) const {
    std::vector<std::string> names;
    if (!isFolder(path) || !platform::listFolder(path, names)) return addFile(path);
    const std::string folder = path + platform::kFolderSeparator;
    for (const std::string& name : names) addFile(folder + name);
  }
};

// reasonText: the crypto library's reason in plain words. What it says of RSA and the like means no more to the user
// than that the two do not fit.
std::string reasonText() {
  unsigned long error = ERR_get_error();
  while (error != 0 && ERR_GET_LIB(error) != ERR_LIB_PKCS7) error = ERR_get_error();
  switch (ERR_GET_REASON(error)) {
    case PKCS7_R_DIGEST_FAILURE:
      return tr("the content is not what was signed"_m);
    case PKCS7_R_SIGNATURE_FAILURE:
      return tr("the content or the signature was changed"_m);
    case PKCS7_R_SIGNER_CERTIFICATE_NOT_FOUND:
      return tr("the signature does not carry the signer's certificate: give it with --ca"_m);
    case PKCS7_R_NO_CONTENT:
      return tr("the signature is detached: give the content with --content"_m);
    default:
      return error == 0 ? tr("the content or the signature was changed"_m) : ERR_reason_error_string(error);
  }
}

Json namesOf(const STACK_OF(X509) * chain) {
  Json names = Json::array();
  for (int i = 0; i < sk_X509_num(chain); ++i)
    names.push_back(nameText(X509_get_subject_name(sk_X509_value(chain, i))));
  return names;
}

// checkChain: adds the chain above the certificate and, when there are authorities, whether it reaches one of them.
bool checkChain(X509* certificate, PKCS7* pkcs7, const Authorities& authorities, Json& signer) {
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (!context ||
      X509_STORE_CTX_init(context.get(), authorities.store.get(), certificate, certificatesOf(pkcs7)) != 1) {
    return false;
  }
  X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_PARTIAL_CHAIN);  // whatever the user gives is trusted
  const bool trusted = X509_verify_cert(context.get()) == 1;
  signer["chain"] = namesOf(X509_STORE_CTX_get0_chain(context.get()));
  if (authorities.isEmpty()) {
    signer["trusted"] = nullptr;
    return true;
  }
  signer["trusted"] = trusted;
  if (!trusted) signer["reason"] = chainProblem(X509_STORE_CTX_get_error(context.get()));
  return trusted;
}

bool isSound(PKCS7* pkcs7, const Authorities& authorities, const std::string* content) {
  const BioPtr stream(content == nullptr ? nullptr
                                         : BIO_new_mem_buf(content->data(), static_cast<int>(content->size())));
  return PKCS7_verify(pkcs7, authorities.list.get(), nullptr, stream.get(), nullptr, PKCS7_BINARY | PKCS7_NOVERIFY) ==
         1;
}

bool judge(PKCS7* pkcs7, const Authorities& authorities, const std::string* content, Json& verdict) {
  const ErrorQueueMark mark;
  bool good = isSound(pkcs7, authorities, content);
  if (!good) verdict["reason"] = reasonText();
  const X509StackPtr certificates(PKCS7_get0_signers(pkcs7, authorities.list.get(), 0));
  Json signers = Json::array();
  for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signersOf(pkcs7)); ++i) {
    Json signer = describeSigner(sk_PKCS7_SIGNER_INFO_value(signersOf(pkcs7), i), certificates.get());
    X509* certificate = sk_X509_value(certificates.get(), i);
    if (certificate != nullptr && !checkChain(certificate, pkcs7, authorities, signer)) good = false;
    signers.push_back(std::move(signer));
  }
  verdict["good"] = good;
  verdict["signers"] = std::move(signers);
  return good;
}

// verifyFile: the verdict over one signature; `content` is null when the user gave none.
bool verifyFile(const std::string& path, const Authorities& authorities, const std::string* content, Json& verdict) {
  CryptoFile file;
  const bool isRead = readCryptoFile(path, file);
  verdict = {{"file", fromTerminal(path)}, {"good", false}};
  if (file.pkcs7 && sk_PKCS7_SIGNER_INFO_num(signersOf(file.pkcs7.get())) > 0) {
    return judge(file.pkcs7.get(), authorities, content, verdict);
  }
  verdict["reason"] = isRead ? tr("this is no signature"_m) : tr("the file cannot be read"_m);
  return false;
}

int runVerify(const VerifyOptions& options) {
  std::string content;
  if (!options.content.empty() && (!readAll(options.content, content) || content.size() > kMaxLength)) {
    printError(tr("{0}: cannot be read"_m, {fromTerminal(options.content)}));
    return kFailed;
  }
  Authorities authorities;
  if (!options.authorities.empty()) authorities.addPath(options.authorities);
  if (!options.authorities.empty() && authorities.isEmpty()) {
    printError(tr("{0}: no certificate found"_m, {fromTerminal(options.authorities)}));
    return kFailed;
  }
  Json listing = Json::array();
  bool allGood = true;
  for (const std::string& path : options.signatures) {
    Json verdict;
    if (!verifyFile(path, authorities, options.content.empty() ? nullptr : &content, verdict)) allGood = false;
    listing.push_back(std::move(verdict));
  }
  printListing(listing, options.json);
  return allGood ? kOk : kFailed;
}

}  // namespace

void addVerify(CommandLine& line) {
  const auto options = std::make_shared<VerifyOptions>();
  CLI::App* command = line.add("verify", "verify signatures"_m, [options] { return runVerify(*options); });
  command->add_option(helpText("SIGNATURE"_m), options->signatures, helpText("signatures: DER, PEM or Base64 text"_m))
      ->required();
  command->add_option("--content", options->content, helpText("the signed content, for a detached signature"_m));
  command->add_option("--ca", options->authorities, helpText("file or folder with certificates to trust"_m));
  addJson(command, options->json);
  addExamples(command, {{"a signature, against the CA that you trust"_m, "zepasign verify --ca ca.pem contract.p7s"},
                        {"a detached signature and its content"_m, "zepasign verify --content contract contract.p7s"},
                        {"a folder of signatures, for a program"_m, "zepasign verify --json --ca ca.pem signed/*"}});
}

}  // namespace zepasign::tools
