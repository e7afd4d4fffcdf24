// Conversions between the encodings that meet in the command line: texts inside the program are UTF-8, file names,
// arguments and what the terminal shows are bytes in the encoding of the terminal, and texts of the library are Big5.
// One whole file per system implements it (encoding_posix.cpp, encoding_windows.cpp).
//
// A character that the target encoding does not have, and a byte that is invalid in the source, becomes "?". None of
// the functions fails, and none changes the locale of the process. Any thread may call them.
#ifndef ZEPASIGN_TOOLS_TERMINAL_ENCODING_H_
#define ZEPASIGN_TOOLS_TERMINAL_ENCODING_H_

#include <string>

namespace zepasign::tools {

// prefersChinese: whether the user's language is Chinese and the encoding of the terminal has its characters.
[[nodiscard]] bool prefersChinese();

// toTerminal, fromTerminal: from and to UTF-8. The encoding of the terminal is that of the locale that the environment
// names; on Windows that of the console, and the system's code page for file names and redirected output.
[[nodiscard]] std::string toTerminal(const std::string& utf8);
[[nodiscard]] std::string fromTerminal(const std::string& bytes);

// fromBig5: a text of the library as UTF-8.
[[nodiscard]] std::string fromBig5(const std::string& bytes);

// toUtf8: bytes of a property file as UTF-8: unchanged when they are valid UTF-8, else taken for Big5.
[[nodiscard]] std::string toUtf8(const std::string& bytes);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_ENCODING_H_
