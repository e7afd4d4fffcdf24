// PlaceRecord: which places a run has written to, in the same memory for ten files or a hundred million.
//
// Thread rule: one thread.
#ifndef ZEPASIGN_TOOLS_FILES_PLACE_RECORD_H_
#define ZEPASIGN_TOOLS_FILES_PLACE_RECORD_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/platform.h"

namespace zepasign::tools {

// What is kept is the first half of the SHA-256 digest of a place (16 bytes): no two places have the same. The first
// 2,048 digests stay in memory; the others go to a temporary file, 32 to 64 bytes for each, where a `long` counts the
// bytes: on Windows, 67 million places and no more.
class PlaceRecord final {
 public:
  enum class Answer { kNew, kKnown, kFailed };

  PlaceRecord();
  // add: whether the place was added before; otherwise adds it, unless the temporary file cannot be made, read or
  // written.
  [[nodiscard]] Answer add(const std::string& place);

 private:
  // Digest: all zero in a slot that is free.
  using Digest = std::array<std::uint64_t, 2>;

  // find: looks for a digest; `slot` becomes the one where it may be added.
  [[nodiscard]] Answer find(const Digest& digest, std::uint64_t& slot);
  // load, store: of a slot; false when the file fails.
  [[nodiscard]] bool load(std::uint64_t slot, Digest& digest);
  [[nodiscard]] bool store(std::uint64_t slot, const Digest& digest);
  // seek: to a slot of the file, which is made when it is needed first.
  [[nodiscard]] bool seek(std::uint64_t slot);

  // memory_: the slots of the first table. newestSize_: the slots of the last one; free_: how many of them may still be
  // filled.
  std::vector<Digest> memory_;
  std::uint64_t newestSize_;
  std::uint64_t free_;
  platform::FilePtr file_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_PLACE_RECORD_H_
