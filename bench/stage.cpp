#include "bench/stage.h"

#include <openssl/rsa.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "demo/handles.h"
#include "tests/support/pki.h"

namespace zepasign::bench {
namespace {

testing::Key newKey(KeyKind kind) {
  if (kind == KeyKind::kRsa2048) return testing::rsaKey();
  return kind == KeyKind::kP256 ? testing::newEcKey() : testing::Key(EVP_RSA_gen(4096), EVP_PKEY_free);
}

}  // namespace

Stage& stage() {
  static Stage theStage;
  return theStage;
}

const testing::Identity& Stage::signer(KeyKind kind) {
  testing::Identity& identity = signers_[kind];
  if (!identity.key) identity = testing::makeIdentity({.issuer = ca_, .key = newKey(kind)});
  return identity;
}

std::vector<testing::Certificate> Stage::chain(const Job& job) {
  const testing::Certificate own = signer(job.key).certificate;
  if (job.certificates == Certificates::kSigner) return {own};
  return {own, ca_.certificate, root_.certificate};
}

std::span<unsigned char> Stage::content(std::size_t size) {
  std::vector<unsigned char>& bytes = contents_[size];
  for (std::uint32_t value = 1; bytes.size() < size; value = value * 1664525U + 1013904223U) {
    if (bytes.empty()) bytes.reserve(size);
    bytes.push_back(static_cast<unsigned char>(value >> 24U));
  }
  return bytes;
}

std::string Stage::contentFile(std::size_t size) {
  const std::string name = "content." + std::to_string(size);
  const std::span<unsigned char> bytes = content(size);
  if (std::filesystem::exists(folder_.path(name))) return folder_.path(name);
  return folder_.write(name, std::string(bytes.begin(), bytes.end()));
}

// The chain map is filled by the first initialisation of a process alone, so every property file names the P7B file.
// The files' names bear the process's number, since children share the folder.
std::string Stage::propertyFile(const Job& job) {
  const std::string process = std::to_string(getpid());
  testing::PfxPlan pfx{.identity = signer(job.key)};
  if (job.certificates == Certificates::kChainInPfx) pfx.caCertificates = {ca_.certificate, root_.certificate};
  folder_.write(process + ".pfx", testing::makePfx(pfx));
  folder_.write(process + ".p7b", testing::makeP7b({ca_.certificate, root_.certificate}));
  return folder_.write(process + ".properties",
                       testing::propertyText({{"LOG.level", job.logLevel},
                                              {"LOG.path", folder_.path()},
                                              {"LOG.file", "bench.log"},
                                              {"P7B.path", folder_.path()},
                                              {"P7B0.name", process + ".p7b"},
                                              {"P7B0.SKI", testing::subjectKeyIdOf(ca_.certificate)},
                                              {"PKCS7.digest", "SHA256"},
                                              {"PKCS7.addCert", job.certificates == Certificates::kSigner ? "1" : "2"},
                                              {"PKCS7.addTimestamp", job.attributes ? "TRUE" : "FALSE"},
                                              {"PKCS7.addPlainText", job.embed ? "TRUE" : "FALSE"},
                                              {"PSWD.license", std::string(64, 'A')},
                                              {"PFX.path", folder_.path()},
                                              {"PFX.file", process + ".pfx"},
                                              {"PFX.pswd", pfx.password}}));
}

Input::Input(const Job& job) {
  if (!job.fromFile) {
    bytes_ = stage().content(job.size);
    return;
  }
  block_.reset(new unsigned char[job.size]);
  bytes_ = {block_.get(), job.size};
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(stage().contentFile(job.size).c_str(), "rb"),
                                                             std::fclose);
  require(file && std::fread(block_.get(), 1, job.size, file.get()) == job.size, "the content file");
}

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string("failed: ") + what);
}

}  // namespace zepasign::bench
