// LogEncoding: the encoding in which log lines are written, Big5 as they are built or, with LOG.encoding = UTF-8,
// UTF-8.
//
// A line is mixed text. The library's own texts are Big5; a value (a path, a name of a certificate) has the encoding of
// where it came from, often UTF-8. Therefore label and value are looked at separately: one that is valid UTF-8 as a
// whole, pure ASCII included, stays as it is; in any other each valid Big5 character is converted and each other byte
// stays. A few Big5 values of one or two characters are valid UTF-8 too and are taken for that; no text of the library
// is.
//
// Thread rule: one thread at a time.
#ifndef ZEPASIGN_BASE_LOGENCODING_H_
#define ZEPASIGN_BASE_LOGENCODING_H_

#include <memory>
#include <string>
#include <string_view>

#include "base/platform.h"

namespace zepasign {

class LogEncoding final {
 public:
  // isUtf8Name: whether the name, the value of LOG.encoding, means UTF-8. The letter case does not matter.
  [[nodiscard]] static bool isUtf8Name(const char* name) noexcept;

  // choose: UTF-8 for that name in any letter case, Big5 for any other. False, and Big5, when the system has no
  // converter. Throws std::bad_alloc.
  [[nodiscard]] bool choose(const char* name);

  // encode: a label or a value as it is written. The result is `text` itself or lies in `area`. Throws std::bad_alloc.
  [[nodiscard]] std::string_view encode(std::string_view text, std::string& area) const;

  // encodeLines: the same for whole lines, each split at its first " = ". Throws std::bad_alloc.
  [[nodiscard]] std::string_view encodeLines(std::string_view text, std::string& area) const;

 private:
  struct CloseConverter {
    void operator()(void* converter) const noexcept { platform::closeConverter(converter); }
  };

  void appendConverted(std::string_view text, std::string& result) const;

  std::unique_ptr<void, CloseConverter> converter_;  // null: Big5
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_LOGENCODING_H_
