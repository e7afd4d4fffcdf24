// Exceptions become error codes before a host could see them.
#ifndef ZEPASIGN_API_EXCEPTIONCODE_H_
#define ZEPASIGN_API_EXCEPTIONCODE_H_

namespace zepasign {

// codeOfException: the error code of the exception being handled; one that is no lack of memory is logged.
[[nodiscard]] int codeOfException() noexcept;

}  // namespace zepasign

#endif  // ZEPASIGN_API_EXCEPTIONCODE_H_
