// NameList: the names of files in a list, as "find" and other programs print it.
//
// Names end with a zero byte if the list holds one, else with the end of the line ("\n" or "\r\n"). Only the beginning
// of the list is looked at to find out: a path of the system has less than kPathBound bytes, so that the first name of
// a list with zero bytes ends before. The names are read one by one as they come; none is kept.
#ifndef ZEPASIGN_TOOLS_COMMANDS_BATCH_LIST_H_
#define ZEPASIGN_TOOLS_COMMANDS_BATCH_LIST_H_

#include <cstddef>
#include <cstdio>
#include <string>

namespace zepasign::tools {

class NameList final {
 public:
  // kPathBound: PATH_MAX of Linux; paths of other systems are shorter.
  static constexpr std::size_t kPathBound = 4096;

  // NameList: reads from the stream, which must outlive this object.
  explicit NameList(std::FILE* stream);

  // next: the next name that is not empty; false at the end of the list. A name that is too long or holds a zero byte
  // becomes empty instead.
  [[nodiscard]] bool next(std::string& name);
  // number: of the entry read last, counting from 1, empty ones included: the line in a list of lines.
  [[nodiscard]] std::size_t number() const noexcept { return number_; }
  // failed: whether reading ended with an error.
  [[nodiscard]] bool failed() const noexcept { return std::ferror(stream_) != 0; }

 private:
  // get: the next byte of the list, EOF at its end.
  [[nodiscard]] int get();

  std::FILE* stream_;
  // beginning_: the bytes that were read to find the separator; at_: how many of them were used since.
  std::string beginning_;
  std::size_t at_ = 0;
  char separator_ = '\n';
  std::size_t number_ = 0;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_BATCH_LIST_H_
