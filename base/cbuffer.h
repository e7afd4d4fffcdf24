// The layout that cBytes and cChars share: a heap block and a signed 32-bit length.
//
//   data_ -> | payload (length_ bytes) | 0 0 ... |     null and 0 when empty
//
// Every block is at least kSpare bytes longer than the payload, and all that the payload does not set is zero, so a
// text buffer is a C string and UTF-16 text is terminated as well. Filling replaces the content; nothing appends. An
// operation that finds nothing to do returns false. Out of memory, or a length over 32 bits, throws std::bad_alloc and
// leaves the buffer empty.
//
// Blocks come from calloc and malloc, since some are handed to callers who free them with std::free.
//
// The buffer owns its block and frees it in the destructor. It is neither copied nor moved; release hands the block
// over. Lengths are `int` because the exported functions and libcrypto count bytes in `int`.
//
// One thread at a time for each buffer.
#ifndef ZEPASIGN_BASE_CBUFFER_H_
#define ZEPASIGN_BASE_CBUFFER_H_

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "base/cleanse.h"
#include "base/platform.h"

namespace zepasign {

// kMaxLength: the longest payload in elements, 2,147,483,647.
inline constexpr int kMaxLength = std::numeric_limits<int>::max();

// cBuffer: what both buffers can do with a block, whatever it holds. REQUIRES: Char has one byte; sizes count both.
template <class Char>
class cBuffer {
 public:
  // kSpare: zeros behind the payload. One ends a C string, two end UTF-16 text.
  static constexpr std::size_t kSpare = 2;

  virtual ~cBuffer() { clear(); }
  cBuffer(const cBuffer&) = delete;
  cBuffer& operator=(const cBuffer&) = delete;

  // data: borrowed; null when empty, valid until the content is replaced.
  [[nodiscard]] Char* data() const noexcept { return data_; }
  // length: elements of the payload, without the zeros behind it; 0 when empty.
  [[nodiscard]] int length() const noexcept { return length_; }

  // markSecret: from now on each block is wiped, its spare included, before it is freed. The mark stays when the
  // content is replaced. A block that release handed over is not wiped here: its new owner must do so.
  void markSecret() noexcept { secret_ = true; }

  // clear: frees the block; the buffer is empty afterwards and can be filled again.
  void clear() noexcept {
    if (secret_ && data_ != nullptr) cleanse(data_, blockSize_);
    std::free(data_);
    data_ = nullptr;
    length_ = 0;
    blockSize_ = 0;
  }

  // release: hands the block over to the caller, who frees it with std::free; the buffer is empty afterwards.
  [[nodiscard]] Char* release() noexcept {
    Char* block = data_;
    data_ = nullptr;
    length_ = 0;
    blockSize_ = 0;
    return block;
  }

 protected:
  cBuffer() = default;

  // replace: a zeroed block with room for `capacity` and `spare` zeros in place of the content; the length becomes
  // `capacity`. Throws std::bad_alloc, and the buffer is empty, when there is no memory or the length passes 32 bits.
  void replace(std::size_t capacity, std::size_t spare = kSpare) {
    replaceBy([](std::size_t size) { return std::calloc(size, sizeof(Char)); }, capacity, spare);
  }

  // replaceUnset: the same, but only the spare is zeroed. For a payload that is then written from end to end, which
  // saves one pass over the block.
  void replaceUnset(std::size_t capacity, std::size_t spare) {
    replaceBy(std::malloc, capacity, spare);
    std::memset(data_ + capacity, 0, spare);
  }

  // shorten: a smaller length; the block keeps its size. REQUIRES: `length` is at most length(), and the elements
  // behind it are zero.
  void shorten(std::size_t length) noexcept { length_ = static_cast<int>(length); }

 private:
  template <class Allocate>
  void replaceBy(Allocate allocate, std::size_t capacity, std::size_t spare) {
    clear();
    if (capacity > static_cast<std::size_t>(kMaxLength)) throw std::bad_alloc();
    data_ = static_cast<Char*>(allocate(capacity + spare));
    if (data_ == nullptr) throw std::bad_alloc();
    length_ = static_cast<int>(capacity);
    blockSize_ = capacity + spare;
    platform::preferLargePages(data_, blockSize_);
  }

  // blockSize_: elements of the whole block, which the wipe needs. It does not change when `length_` is shortened.
  Char* data_ = nullptr;
  int length_ = 0;
  bool secret_ = false;
  std::size_t blockSize_ = 0;
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CBUFFER_H_
