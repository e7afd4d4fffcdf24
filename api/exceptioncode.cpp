#include "api/exceptioncode.h"

#include <exception>
#include <new>
#include <stdexcept>

#include "base/failure.h"

namespace zepasign {

int codeOfException() noexcept {
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
