// A kind of signature to make (Job), and the implementations that make it. Each hashes and signs, encodes in DER and
// then in Base64 with its own functions. The baseline makes no signature that anybody could use: it does only what no
// implementation can do without.
#ifndef ZEPASIGN_BENCH_JOB_H_
#define ZEPASIGN_BENCH_JOB_H_

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zepasign::bench {

inline constexpr std::size_t kKiB = 1024;
inline constexpr std::size_t kMiB = 1024 * kKiB;
inline constexpr std::size_t kGiB = 1024 * kMiB;

enum class KeyKind { kRsa2048, kRsa4096, kP256 };
enum class Certificates { kSigner, kChainInPfx, kChainInP7b };  // a chain is signer, CA and root

struct Job {
  std::size_t size = kKiB;
  bool embed = true;
  bool attributes = true;  // content type and signing time
  Certificates certificates = Certificates::kSigner;
  KeyKind key = KeyKind::kRsa2048;
  bool fromFile = false;
  const char* logLevel = "OFF";  // of the library
};

// Input: a job's content in memory: where it lies, or read once from the file into a block of its own.
class Input final {
 public:
  explicit Input(const Job& job);
  [[nodiscard]] unsigned char* data() const { return bytes_.data(); }
  [[nodiscard]] int size() const { return static_cast<int>(bytes_.size()); }

 private:
  std::unique_ptr<unsigned char[]> block_;
  std::span<unsigned char> bytes_;
};

// require: throws std::runtime_error unless `good`, so that a failed signature is not counted as a fast one.
void require(bool good, const char* what);

// Sign: makes one signature and drops it. The makers load key and certificates in advance, as a server would.
using Sign = std::function<void()>;
// baseline: EVP_DigestSign over the content and nothing else. A content from a file is read into a fresh block first;
// for an embedded one, a fresh block as long as the content's Base64 text is written once.
[[nodiscard]] Sign baseline(const Job& job);
[[nodiscard]] Sign zepasignExports(const Job& job);
[[nodiscard]] Sign libcryptoPkcs7(const Job& job);
[[nodiscard]] Sign libcryptoCms(const Job& job);

// Implementation: one column of the table.
struct Implementation {
  const char* name;
  Sign (*prepare)(const Job& job);
};
inline constexpr std::array<Implementation, 4> kImplementations = {{{"baseline", baseline},
                                                                    {"ZEPASignDLL", zepasignExports},
                                                                    {"PKCS7_sign", libcryptoPkcs7},
                                                                    {"CMS_sign", libcryptoCms}}};
inline constexpr const Implementation& kBaseline = kImplementations[0];
inline constexpr const Implementation& kOwn = kImplementations[1];

}  // namespace zepasign::bench

#endif  // ZEPASIGN_BENCH_JOB_H_
