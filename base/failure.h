// How a failing step ends: its message in the log, its code to the caller. Steps in api/ and pki/ return 0 or a code of
// errors.h, so a check that fails is one line, and its caller passes the code on:
//
//   if (dataLen < 1) return failed(kWrongParameter, "..."_big5);
//   if (const int code = checkBeforeSigning()) return code;
//
// Exceptions are for what no step expects, above all for an allocation failure. They travel up to the exported function
// or to signBin, whichever comes first, and codeOfException turns them into a code there.
//
// Messages are Big5 texts that operators search for in the log. Nothing here throws. One thread at a time, as for the
// log.
#ifndef ZEPASIGN_BASE_FAILURE_H_
#define ZEPASIGN_BASE_FAILURE_H_

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string_view>

#include "base/clog.h"
#include "base/errors.h"
#include "base/text.h"

namespace zepasign {

// failed: logs the message at ERROR, when that level is enabled, and returns the code unchanged.
[[nodiscard]] inline int failed(int code, std::string_view message) noexcept {
  logText(kError, message);
  return code;
}

// checkText: 0 for a text from outside that holds something. For null or "": kWrongParameter, after `whenNull` or
// `whenEmpty` was logged at ERROR. The text is borrowed. REQUIRES: it is null or NUL-terminated, and both messages are
// NUL-terminated.
[[nodiscard]] inline int checkText(const char* text, const char* whenNull, const char* whenEmpty) noexcept {
  if (!isEmpty(text)) return kSuccess;
  return failed(kWrongParameter, text == nullptr ? whenNull : whenEmpty);
}

// prepareToThrow: has the C++ run-time allocate what it needs for the calling thread's first exception. In a library
// that was loaded by dlopen it does so when the first exception is thrown, and ends the process if there is no memory.
// False when memory is short; then nothing may be thrown.
[[nodiscard]] inline bool prepareToThrow() noexcept {
  constexpr std::size_t kEnough = 4096;  // the run-time's block is of some bytes, the loader's table of some hundred
  void* const volatile block = std::malloc(kEnough);  // volatile: both are calls that a compiler may remove
  if (block == nullptr) return false;
  std::free(block);
  [[maybe_unused]] const volatile int exceptions = std::uncaught_exceptions();
  return true;
}

// codeOfException: the error code of the exception being handled; never 0. A std::exception that is not an allocation
// failure is logged at ERROR with its what(). std::length_error counts as an allocation failure: a standard container
// throws it for a size beyond what memory can hold. An allocation failure is not logged, since a log line needs memory
// too. REQUIRES: it is called in a catch block.
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

// codeOf: what the step returns, or the code of what it throws, for steps whose end is logged in every case.
template <class Step>
[[nodiscard]] int codeOf(Step step) noexcept {
  try {
    return step();
  } catch (...) {
    return codeOfException();
  }
}

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_FAILURE_H_
