// Rows of a hexadecimal dump:
//
//    0x00000010 - 41 42 43 ...                          : ABC
//
// Sixteen bytes a row in lower-case digits, three spaces for each byte that the last row lacks, then the characters,
// "." for those outside 0x20 to 0x7E. Rows are ASCII whatever the bytes are.
//
// The bytes may arrive in pieces of any length: a signature is dumped without being copied into one block. The offset
// is that of the row's first byte in all pieces together; it has eight hexadecimal digits or, beyond 4 GiB, more.
//
// add and finish throw std::bad_alloc and what the sink throws. One thread at a time for each object.
#ifndef ZEPASIGN_BASE_HEXDUMP_H_
#define ZEPASIGN_BASE_HEXDUMP_H_

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace zepasign {

class HexDump final {
 public:
  // Column: how long the last row's character column is. The log's pending text is filled up to sixteen, its file is
  // not; callers depend on both forms.
  enum class Column { kSixteenWide, kAsLongAsTheRow };
  // Sink: receives each row, a line end in front of it. The text is valid during the call only.
  using Sink = std::function<void(std::string_view)>;

  HexDump(Column column, Sink sink) : columnForm_(column), sink_(std::move(sink)) {}

  // add: the next bytes; a row is handed on when it is full.
  void add(std::span<const unsigned char> bytes);
  // finish: hands on the last row when it is not full; does nothing without bytes. REQUIRES: called once, at the end.
  void finish();

 private:
  static constexpr std::size_t kRowSize = 16;

  void beginRow();
  void endRow();

  Column columnForm_;
  Sink sink_;
  std::size_t offset_ = 0;
  std::string row_;
  std::string column_;
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_HEXDUMP_H_
