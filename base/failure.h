// How a failing step ends: its message in the log, its code to the caller.
#ifndef ZEPASIGN_BASE_FAILURE_H_
#define ZEPASIGN_BASE_FAILURE_H_

#include <exception>
#include <new>
#include <stdexcept>
#include <string_view>

#include "base/clog.h"
#include "base/errors.h"
#include "base/text.h"

namespace zepasign {

// failed: logs the message at ERROR and gives back the code.
[[nodiscard]] inline int failed(int code, std::string_view message) noexcept {
  logText(kError, message);
  return code;
}

// checkText: 0 for a text from outside that holds something, else the parameter error with one of the messages logged.
[[nodiscard]] inline int checkText(const char* text, const char* whenNull, const char* whenEmpty) noexcept {
  if (!isEmpty(text)) return kSuccess;
  return failed(kWrongParameter, text == nullptr ? whenNull : whenEmpty);
}

// codeOfException: the error code of the exception being handled. One that is not an allocation failure is logged.
// REQUIRES: it is called in a catch block.
[[nodiscard]] inline int codeOfException() noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  } catch (const std::length_error&) {
    return kOutOfMemory;
  } catch (const std::exception& failure) {
    return failed(kGeneralError, failure.what());
  } catch (...) {
    return kGeneralError;
  }
}

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_FAILURE_H_
