#include <iconv.h>

#include <stdexcept>

#include "tests/support/files.h"

namespace zepasign::testing {

std::string big5(const std::string& utf8) {
  std::string from = utf8;
  std::string to(utf8.size(), '\0');  // no character takes more bytes in Big5 than in UTF-8
  char* in = from.data();
  char* out = to.data();
  std::size_t inLeft = from.size();
  std::size_t outLeft = to.size();
  const iconv_t converter = iconv_open("BIG5", "UTF-8");
  const std::size_t result = iconv(converter, &in, &inLeft, &out, &outLeft);
  iconv_close(converter);
  if (result != 0) throw std::runtime_error("not in Big5: " + utf8);
  to.resize(to.size() - outLeft);
  return to;
}

}  // namespace zepasign::testing
