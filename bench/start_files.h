// The files for an initialisation with all that it can load.
#ifndef ZEPASIGN_BENCH_START_FILES_H_
#define ZEPASIGN_BENCH_START_FILES_H_

#include <string>

#include "demo/fixture.h"

namespace zepasign::bench {

// StartFiles: a PFX, ten P7B files, fifty CRLs of 10,000 entries, and the property file that names them all.
class StartFiles final {
 public:
  StartFiles();
  [[nodiscard]] const std::string& propertyFile() const { return propertyFile_; }

  // parseWithLibcrypto: reads and parses them all with libcrypto alone. What is parsed stays, as the library keeps it.
  void parseWithLibcrypto() const;

 private:
  demo::Fixture files_{};
  std::string propertyFile_;
};

}  // namespace zepasign::bench

#endif  // ZEPASIGN_BENCH_START_FILES_H_
