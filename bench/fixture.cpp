#include "bench/fixture.h"

#include <openssl/rsa.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "demo/handles.h"

namespace zepasign::bench {
namespace {

demo::Key newKey(KeyKind kind) {
  if (kind == KeyKind::kRsa2048) return demo::rsaKey();
  return kind == KeyKind::kP256 ? demo::newEcKey() : demo::Key(EVP_RSA_gen(4096), EVP_PKEY_free);
}

}  // namespace

Fixture& fixture() {
  static Fixture theFixture;
  return theFixture;
}

const demo::Identity& Fixture::signer(KeyKind kind) {
  demo::Identity& identity = signers_[kind];
  if (!identity.key) identity = demo::makeIdentity({.issuer = files_.ca, .key = newKey(kind)});
  return identity;
}

std::vector<demo::Certificate> Fixture::chain(const Job& job) {
  const demo::Certificate own = signer(job.key).certificate;
  if (job.certificates == Certificates::kSigner) return {own};
  return {own, files_.ca.certificate, files_.root.certificate};
}

std::span<unsigned char> Fixture::content(std::size_t size) {
  std::vector<unsigned char>& bytes = contents_[size];
  for (std::uint32_t value = 1; bytes.size() < size; value = value * 1664525U + 1013904223U) {
    if (bytes.empty()) bytes.reserve(size);
    bytes.push_back(static_cast<unsigned char>(value >> 24U));
  }
  return bytes;
}

std::string Fixture::contentFile(std::size_t size) {
  const std::string name = "content." + std::to_string(size);
  const std::span<unsigned char> bytes = content(size);
  if (std::filesystem::exists(files_.directory.path(name))) return files_.directory.path(name);
  return files_.directory.write(name, std::string(bytes.begin(), bytes.end()));
}

// The chain map is filled by the first initialisation of a process alone, so every property file names the chain file.
// The other files' names contain the process's number, since children share the directory.
std::string Fixture::propertyFile(const Job& job) {
  const std::string process = std::to_string(getpid());
  demo::PfxPlan pfx{.identity = signer(job.key)};
  if (job.certificates == Certificates::kChainInPfx) {
    pfx.caCertificates = {files_.ca.certificate, files_.root.certificate};
  }
  files_.directory.write(process + ".pfx", demo::makePfx(pfx));
  files_.addChain();
  demo::Properties properties = files_.properties;
  properties["LOG.level"] = job.logLevel;
  properties["PKCS7.addCert"] = job.certificates == Certificates::kSigner ? '1' : '2';
  properties["PKCS7.addTimestamp"] = job.attributes ? "TRUE" : "FALSE";
  properties["PKCS7.addPlainText"] = job.embed ? "TRUE" : "FALSE";
  properties["PFX.file"] = process + ".pfx";
  return files_.directory.write(process + ".properties", demo::propertyText(properties));
}

Input::Input(const Job& job) {
  if (!job.fromFile) {
    bytes_ = fixture().content(job.size);
    return;
  }
  block_.reset(new unsigned char[job.size]);
  bytes_ = {block_.get(), job.size};
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(fixture().contentFile(job.size).c_str(), "rb"),
                                                             std::fclose);
  require(file && std::fread(block_.get(), 1, job.size, file.get()) == job.size, "the content file");
}

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string("failed: ") + what);
}

}  // namespace zepasign::bench
