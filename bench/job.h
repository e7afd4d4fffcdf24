// A kind of signature to make, and the libraries that make it: each hashes and signs, encodes in DER and then in Base64
// with its own functions. Free of the libraries' headers, which bear the same names.
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

// Input: a job's content as a peer gets it: where it lies, or read from the file into memory of its own.
class Input final {
 public:
  explicit Input(const Job& job);
  [[nodiscard]] unsigned char* data() const { return bytes_.data(); }
  [[nodiscard]] int size() const { return static_cast<int>(bytes_.size()); }

 private:
  std::unique_ptr<unsigned char[]> block_;
  std::span<unsigned char> bytes_;
};

// Credential: a job's key and certificates in DER, the signer's certificate first.
struct Credential {
  explicit Credential(const Job& job);
  std::vector<std::string> chain;
  std::string key;
};

// require: throws std::runtime_error unless `good`: a failed signature must not pass for a quick one.
void require(bool good, const char* what);

// Sign: makes one signature and drops it. The makers load key and certificates in advance, as a server would.
using Sign = std::function<void()>;
[[nodiscard]] Sign bareDigestSign(const Job& job);  // EVP_DigestSign alone, over content in memory: the yardstick
[[nodiscard]] Sign zepasignExports(const Job& job);
[[nodiscard]] Sign libcryptoPkcs7(const Job& job);
[[nodiscard]] Sign libcryptoCms(const Job& job);
[[nodiscard]] Sign gnutls(const Job& job);
[[nodiscard]] Sign wolfssl(const Job& job);

// Contestant: one column of the table.
struct Contestant {
  const char* name;
  Sign (*prepare)(const Job& job);
};
inline constexpr std::array<Contestant, 6> kContestants = {{{"EVP_DigestSign", bareDigestSign},
                                                            {"ZEPASignDLL", zepasignExports},
                                                            {"PKCS7_sign", libcryptoPkcs7},
                                                            {"CMS_sign", libcryptoCms},
                                                            {"gnutls_pkcs7_sign", gnutls},
                                                            {"wc_PKCS7_EncodeSignedData", wolfssl}}};
inline constexpr const Contestant& kYardstick = kContestants[0];
inline constexpr const Contestant& kOwn = kContestants[1];

}  // namespace zepasign::bench

#endif  // ZEPASIGN_BENCH_JOB_H_
