// Hash tables one behind the other, each twice as large as the one before: the first in memory, the others in the file.
// A digest is looked for in all of them, and added to the last. Half filled, a table is full, and the next one begins:
// no digest ever moves. In a table, a digest is in the slot that its own bits name, or in the next free one.
#include "tools/files/place_record.h"

#include <openssl/evp.h>

#include <climits>
#include <cstdio>
#include <cstring>

#include "tools/terminal/filesystem.h"

namespace zepasign::tools {
namespace {

constexpr std::uint64_t kFirstSize = 4096;

}  // namespace

PlaceRecord::PlaceRecord() : memory_(kFirstSize), newestSize_(kFirstSize), free_(kFirstSize / 2) {}

PlaceRecord::Answer PlaceRecord::add(const std::string& place) {
  unsigned char sha256[EVP_MAX_MD_SIZE];
  if (EVP_Digest(place.data(), place.size(), sha256, nullptr, EVP_sha256(), nullptr) != 1) return Answer::kFailed;
  Digest digest{};
  std::memcpy(digest.data(), sha256, sizeof digest);
  std::uint64_t slot = 0;
  if (const Answer answer = find(digest, slot); answer != Answer::kNew) return answer;
  if (!store(slot, digest)) return Answer::kFailed;
  if (--free_ == 0) {
    newestSize_ *= 2;
    free_ = newestSize_ / 2;
  }
  return Answer::kNew;
}

PlaceRecord::Answer PlaceRecord::find(const Digest& digest, std::uint64_t& slot) {
  for (std::uint64_t first = 0, size = kFirstSize; size <= newestSize_; first += size, size *= 2) {
    Digest found{};
    for (std::uint64_t at = digest[0];; ++at) {
      slot = first + at % size;
      if (!load(slot, found)) return Answer::kFailed;
      if (found == digest) return Answer::kKnown;
      if (found == Digest{}) break;
    }
  }
  return Answer::kNew;
}

bool PlaceRecord::load(std::uint64_t slot, Digest& digest) {
  if (slot < kFirstSize) return digest = memory_[static_cast<std::size_t>(slot)], true;
  digest = {};  // what lies behind the end of the file is free
  return seek(slot) && (std::fread(&digest, sizeof digest, 1, file_.get()) == 1 || std::ferror(file_.get()) == 0);
}

bool PlaceRecord::store(std::uint64_t slot, const Digest& digest) {
  if (slot < kFirstSize) return memory_[static_cast<std::size_t>(slot)] = digest, true;
  return seek(slot) && std::fwrite(&digest, sizeof digest, 1, file_.get()) == 1;
}

bool PlaceRecord::seek(std::uint64_t slot) {
  if (!file_) {
    file_ = openTemporary();
    if (!file_) return false;
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);  // the slots lie far apart
  }
  const std::uint64_t offset = (slot - kFirstSize) * sizeof(Digest);
  return offset <= LONG_MAX && std::fseek(file_.get(), static_cast<long>(offset), SEEK_SET) == 0;
}

}  // namespace zepasign::tools
