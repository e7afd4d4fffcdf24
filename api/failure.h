// How a failing step ends: its message in the log, its code to the caller.
#ifndef ZEPASIGN_API_FAILURE_H_
#define ZEPASIGN_API_FAILURE_H_

#include <string_view>

#include "base/clog.h"

namespace zepasign {

// failed: logs the message at ERROR and gives back the code.
[[nodiscard]] inline int failed(int code, std::string_view message) noexcept {
  logText(kError, message);
  return code;
}

// codeOfException: the error code of the exception being handled; one that is no lack of memory is logged.
[[nodiscard]] int codeOfException() noexcept;

}  // namespace zepasign

#endif  // ZEPASIGN_API_FAILURE_H_
