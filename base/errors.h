// The error codes that the signer and the credential report, and the message of every code that has one. Base classes
// and chains report by false and log lines; only api/ and pki/ turn a failure into a code, with `failed` of failure.h.
//
// The signer keeps the code of its last initialisation or signing call (GetErrorCode); the message is built from the
// code when a host asks for it (GetErrorMsg), so no text needs to be stored with a failure.
//
// Codes and messages are part of the interface: hosts compare the codes and show the messages. Each code is written as
// a number here and nowhere else, each message in errors.cpp. docs/error-codes.md explains them all.
#ifndef ZEPASIGN_BASE_ERRORS_H_
#define ZEPASIGN_BASE_ERRORS_H_

#include <string>

namespace zepasign {

// Codes that this library itself reports. The table in errors.cpp has messages for many more, which hosts look up. All
// failures are positive, so `if (int code = step())` reads as "when the step fails". An allocation failure, and a size
// beyond the 32-bit length, is kOutOfMemory; any other exception is kGeneralError (codeOfException of failure.h).
//
// To add a code: a constant here, a row in errors.cpp when it has a message of its own, and docs/error-codes.md.
inline constexpr int kSuccess = 0;
inline constexpr int kFileUnreadable = 1002;
inline constexpr int kPfxFileUnreadable = 1102;
inline constexpr int kPropertyFileUnreadable = 1202;
inline constexpr int kGeneralError = 5001;
inline constexpr int kOutOfMemory = 5002;
inline constexpr int kBufferTooSmall = 5003;
inline constexpr int kWrongParameter = 5005;
inline constexpr int kCertificateNotFound = 5010;
inline constexpr int kCertificateExpired = 5011;
inline constexpr int kCertificateNotYetValid = 5012;
inline constexpr int kKeyUsageUnsuitable = 5017;
inline constexpr int kSigningFailed = 5061;
inline constexpr int kEncryptionFailed = 5063;
inline constexpr int kPfxNotLoaded = 5204;        // without a message of its own: callers depend on the general one
inline constexpr int kPasswordOrKeyWrong = 5208;  // likewise
inline constexpr int kTextConversionFailed = 5901;

// errorCodeToMessage: the one-line Big5 message of any code, the code in parentheses at its end. A code without a row
// of its own gets the message for undefined codes. Negative codes are allowed. Throws std::bad_alloc. Any thread.
[[nodiscard]] std::string errorCodeToMessage(int code);

}  // namespace zepasign

#endif  // ZEPASIGN_BASE_ERRORS_H_
