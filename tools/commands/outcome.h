// Outcome: how a job ended, as reports and listings show it.
#ifndef ZEPASIGN_TOOLS_COMMANDS_OUTCOME_H_
#define ZEPASIGN_TOOLS_COMMANDS_OUTCOME_H_

#include <string>

namespace zepasign::tools {

// Outcome: an error code, 0 for success, and what it means (UTF-8).
struct Outcome {
  int code = 0;
  std::string meaning = {};
};

// kOutputUnwritable: the code of a signature that was made but could not be written.
inline constexpr int kOutputUnwritable = 1003;

// outcomeOf: a code of the library with its meaning. For 0 the meaning is empty.
[[nodiscard]] Outcome outcomeOf(int code);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_OUTCOME_H_
