// cFile: a byte buffer that loads a whole file: the property file, a CRL, the content to be signed. markSecret before
// loading makes the content be wiped.
//
// The file is opened, read with one call and closed; nothing of it stays open. Every load logs its result at DEBUG.
#ifndef ZEPASIGN_BASE_CFILE_H_
#define ZEPASIGN_BASE_CFILE_H_

#include "base/cbytes.h"

namespace zepasign {

class cFile : public cBytes {
 public:
  // loadFromFile: the content of a regular file, its path passed to the system as it is. An empty file succeeds with
  // an empty buffer; one beyond the signed 32-bit length fails. Throws std::bad_alloc.
  // The buffer is empty unless the whole file was read.
  [[nodiscard]] bool loadFromFile(const char* path);

 private:
  [[nodiscard]] bool read(const char* path);
};

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_CFILE_H_
