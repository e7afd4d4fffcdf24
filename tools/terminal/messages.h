// The tool's texts in its two languages. A text stands in the sources in English, "cannot read {0}"_m, and its Chinese
// in messages.inc; a text that is missing there is a compile error. {0} to {9} stand for the arguments.
//
// Who writes a new text adds a row to messages.inc, English first, in the sorted order of its section. Error texts of
// the library are not in that list: codeText takes what it has no words for from the library.
//
// Thread rule: useChinese must be called before other threads use the texts; any thread may call the other functions.
#ifndef ZEPASIGN_TOOLS_TERMINAL_MESSAGES_H_
#define ZEPASIGN_TOOLS_TERMINAL_MESSAGES_H_

#include <initializer_list>
#include <string>
#include <string_view>

namespace zepasign::tools {

// Message: one text in both languages, UTF-8. It refers to literals, which live as long as the program.
struct Message {
  std::string_view english;
  std::string_view chinese;
};

// kMessages: the whole list, known at compile time.
inline constexpr Message kMessages[] = {
#include "tools/terminal/labels.inc"
#include "tools/terminal/messages.inc"
};

// _m: the row whose English text is exactly the literal.
consteval Message operator""_m(const char* text, std::size_t length) {
  for (const Message& each : kMessages) {
    if (each.english == std::string_view(text, length)) return each;
  }
  throw "add the text to tools/terminal/messages.inc";
}

// useChinese: chooses the language of all texts from now on.
void useChinese(bool chinese);

// tr: the message in the user's language (UTF-8), its places filled. A place without an argument remains as it is.
[[nodiscard]] std::string tr(const Message& message, std::initializer_list<std::string> arguments = {});

// codeText: what an error code of the library means, with the code in parentheses at the end.
[[nodiscard]] std::string codeText(int code);

// labelText: the readable form of a name in camelCase, such as stands in JSON. In Chinese it is the translation in
// labels.inc; without one, and in English, the words with blanks between them ("notBefore": "not before").
[[nodiscard]] std::string labelText(std::string_view name);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_MESSAGES_H_
