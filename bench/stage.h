// The stage of all jobs: the same content, key and certificates for every implementation.
#ifndef ZEPASIGN_BENCH_STAGE_H_
#define ZEPASIGN_BENCH_STAGE_H_

#include <map>

#include "bench/job.h"
#include "tests/support/files.h"
#include "tests/support/pki.h"

namespace zepasign::bench {

// Stage: keys, certificates, contents and files, each made when it is first asked for.
class Stage final {
 public:
  [[nodiscard]] const testing::Identity& signer(KeyKind kind);
  // chain: the certificates that go into the signature, the signer's first.
  [[nodiscard]] std::vector<testing::Certificate> chain(const Job& job);
  [[nodiscard]] std::span<unsigned char> content(std::size_t size);
  [[nodiscard]] std::string contentFile(std::size_t size);
  // propertyFile: what ZEPASignInitial needs for the job.
  [[nodiscard]] std::string propertyFile(const Job& job);

 private:
  testing::TempFolder folder_;
  testing::Identity root_ = testing::makeIdentity(testing::caPlan("Bench Root"));
  testing::Identity ca_ = testing::makeIdentity(testing::caPlan("Bench CA", root_));
  std::map<KeyKind, testing::Identity> signers_;
  std::map<std::size_t, std::vector<unsigned char>> contents_;
};
Stage& stage();

}  // namespace zepasign::bench

#endif  // ZEPASIGN_BENCH_STAGE_H_
