// What the tests of the foundation share: a buffer's content and a log's lines as one string each.
#ifndef ZEPASIGN_TESTS_SUPPORT_BASE_H_
#define ZEPASIGN_TESTS_SUPPORT_BASE_H_

#include <gtest/gtest.h>

#include "base/cbytes.h"
#include "base/clog.h"
#include "tests/support/files.h"

namespace zepasign::testing {

inline constexpr const char* kNull = nullptr;

inline std::string bytesOf(const cBytes& buffer) { return {buffer.data(), buffer.data() + buffer.length()}; }

// logInto: the process's log goes into this directory from this level on; only once in a process.
inline void logInto(const TempDirectory& directory, const char* level) {
  logger.setLevel(level);
  logger.setLogFile(directory.path().c_str(), "log");
}

inline std::string logOf(const std::string& directory) {
  std::string text;
  for (const std::string& line : readLog(directory)) text += line + "\n";
  return text;
}

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_BASE_H_
