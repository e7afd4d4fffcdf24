// One question to a server over HTTP or HTTPS and its answer, by the crypto library's own client.
//
// - A POST with one body; the answer is one DER object of the expected content type, at most kMaxAnswer bytes long.
// - Redirects are not followed: a server whose address has changed is a matter for the user.
// - Of HTTPS servers the certificate and its host name are verified; TLS 1.2 is the oldest version in use.
// - A proxy is used as the environment says: http_proxy, https_proxy, and no_proxy with the hosts that need none. One
//   that asks for a password is not supported.
// - An Interruption ends the waiting.
//
// Thread rule: one thread at a time; a CryptoScope must be open, and no ErrorScope whose errors are still needed.
#ifndef ZEPASIGN_TOOLS_TERMINAL_HTTP_H_
#define ZEPASIGN_TOOLS_TERMINAL_HTTP_H_

#include <openssl/x509_vfy.h>

#include <cstddef>
#include <string>

namespace zepasign::tools {

// kMaxAnswer: a time stamp has some 3 to 20 KB, the certificates of its authority included.
inline constexpr std::size_t kMaxAnswer = std::size_t{100} * 1024;

// HttpQuestion: `timeout` is in seconds, from the beginning of the connection to the end of the answer; looking up the
// name of the server comes before it. `authorities` are trusted for HTTPS servers, borrowed; null means those of the
// system.
struct HttpQuestion {
  std::string url;
  std::string body;
  const char* contentType;
  const char* answerType;
  unsigned timeout;
  X509_STORE* authorities;
};

// HttpAnswer: the body, or a reason (UTF-8). After kNoAnswer a later try may succeed: the connection was refused or
// closed, the time was over, or the server reported a failure of its own (429 or 5xx).
struct HttpAnswer {
  enum class Result { kReceived, kNoAnswer, kUnusable };
  Result result;
  std::string body = {};
  std::string reason = {};
};

// isHttpUrl: whether the text is the address of an HTTP or HTTPS server: http://host, with a port and a path if need
// be, without a user name.
[[nodiscard]] bool isHttpUrl(const std::string& text);

// ask: sends the question and waits for the answer. REQUIRES: isHttpUrl(question.url).
[[nodiscard]] HttpAnswer ask(const HttpQuestion& question);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_HTTP_H_
