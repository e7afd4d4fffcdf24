// Logs and texts for tests, beside the directories and files of the demo.
#ifndef ZEPASIGN_TESTS_SUPPORT_FILES_H_
#define ZEPASIGN_TESTS_SUPPORT_FILES_H_

#include <filesystem>
#include <string>
#include <vector>

#include "demo/files.h"

namespace zepasign::testing {

using namespace demo;

// readLog: the lines of the daily log files in `directory`, oldest first, without line ends. Of each line the time
// stamp and process id are checked and cut off, "ERROR text" and "INFO text" (no leading blank) stay; rows of a hex
// dump stay as they are. Texts are Big5: compare with big5(). Throws when a line has neither form; empty without a
// file.
[[nodiscard]] std::vector<std::string> readLog(const std::filesystem::path& directory);

// base64Decode: by libcrypto; throws when the text is not Base64 on one line.
[[nodiscard]] std::string base64Decode(const std::string& text);

// big5: a UTF-8 text as the system's own converter gives it in Big5; throws when it cannot.
[[nodiscard]] std::string big5(const std::string& utf8);

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_FILES_H_
