// Source: a file or the standard input, read once from front to back in blocks, so that a log of any size can be shown.
//
// Thread rule: one thread. The standard input can be read by one Source only, since a Source reads ahead; REQUIRES:
// nobody else reads from it afterwards.
#ifndef ZEPASIGN_TOOLS_FILES_SOURCE_H_
#define ZEPASIGN_TOOLS_FILES_SOURCE_H_

#include <cstddef>
#include <cstdio>
#include <string>

#include "base/platform.h"

namespace zepasign::tools {

class Source final {
 public:
  // Source: opens the file; "-" is the standard input. A failure is not reported here; isGood tells. The object closes
  // a file that it opened, never the standard input.
  explicit Source(const std::string& path);

  // isGood: false when it could not be opened, or when reading failed.
  [[nodiscard]] bool isGood() const;

  // head: the first bytes of what is still unread, which stay unread; 64 KiB unless the file ends before. The result is
  // borrowed until the next call. REQUIRES: no line was read before.
  [[nodiscard]] const std::string& head();

  // readLine: the next line without its end. False when there is none left; a line whose end is not written yet is
  // then kept, so that a later call after the file has grown gives it whole.
  [[nodiscard]] bool readLine(std::string& line);
  // readLastLine: what stands after the last line end; false when nothing does.
  [[nodiscard]] bool readLastLine(std::string& line);

  // readRest: all that is unread. False when it is longer than `limit` bytes or cannot be read.
  [[nodiscard]] bool readRest(std::string& bytes, std::size_t limit);

 private:
  // fill: appends the next block of at most 64 KiB to unread_; false at the end or when reading fails.
  bool fill();

  platform::FilePtr opened_;
  std::FILE* file_;
  std::string unread_;
  std::size_t position_ = 0;  // of the first unread byte in unread_
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_SOURCE_H_
