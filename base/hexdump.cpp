// A row is built in two strings at once: `row_` with offset and digits, `column_` with the characters. The length of
// `column_` tells how full the row is; a full row is joined and handed on, and the next byte begins a new one.
#include "base/hexdump.h"

#include <cstdio>

namespace zepasign {

void HexDump::add(std::span<const unsigned char> bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (unsigned char byte : bytes) {
    if (column_.empty()) beginRow();
    const char digits[] = {' ', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    row_.append(digits, sizeof digits);
    column_ += byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
    ++offset_;
    if (column_.size() == kRowSize) endRow();
  }
}

void HexDump::finish() {
  if (column_.empty()) return;
  const std::size_t missing = kRowSize - column_.size();
  row_.append(3 * missing, ' ');
  if (columnForm_ == Column::kSixteenWide) column_.append(missing, ' ');
  endRow();
}

void HexDump::beginRow() {
  char start[32];
  std::snprintf(start, sizeof start, "\n 0x%08zx -", offset_);
  row_ = start;
}

void HexDump::endRow() {
  row_ += " : ";
  row_ += column_;
  sink_(row_);
  column_.clear();
}

}  // namespace zepasign
