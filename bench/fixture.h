// The fixture of all jobs: the same content, key and certificates for every implementation.
#ifndef ZEPASIGN_BENCH_FIXTURE_H_
#define ZEPASIGN_BENCH_FIXTURE_H_

#include <map>

#include "bench/job.h"
#include "demo/fixture.h"

namespace zepasign::bench {

// Fixture: signers with each kind of key, contents and files, each made when it is first asked for.
class Fixture final {
 public:
  [[nodiscard]] const demo::Identity& signer(KeyKind kind);
  // chain: the certificates that go into the signature, the signer's first.
  [[nodiscard]] std::vector<demo::Certificate> chain(const Job& job);
  [[nodiscard]] std::span<unsigned char> content(std::size_t size);
  [[nodiscard]] std::string contentFile(std::size_t size);
  // propertyFile: what ZEPASignInitial needs for the job.
  [[nodiscard]] std::string propertyFile(const Job& job);

 private:
  demo::Fixture files_{};
  std::map<KeyKind, demo::Identity> signers_;
  std::map<std::size_t, std::vector<unsigned char>> contents_;
};
Fixture& fixture();

}  // namespace zepasign::bench

#endif  // ZEPASIGN_BENCH_FIXTURE_H_
