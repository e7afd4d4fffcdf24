// cFile: a byte buffer that loads a whole file.
#ifndef ZEPASIGN_BASE_CFILE_H_
#define ZEPASIGN_BASE_CFILE_H_

#include "base/cbytes.h"

namespace zepasign {

class cFile : public cBytes {
 public:
  // loadFromFile: the content of an ordinary file, its path passed to the system as it is. An empty file succeeds with
  // an empty buffer; one beyond the signed 32-bit length fails. Throws std::bad_alloc when there is no memory for it.
  // The buffer is empty unless the whole file was read.
  [[nodiscard]] bool loadFromFile(const char* path);

 private:
  [[nodiscard]] bool read(const char* path);
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CFILE_H_
