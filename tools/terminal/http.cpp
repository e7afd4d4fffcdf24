// The crypto library's client reads an answer without asking for its status or its time line by line. A callback on the
// connection, which sees all bytes that arrive, therefore notes the status line, and ends an answer that is too long or
// takes too long, or a waiting that the user interrupts.
#include "tools/terminal/http.h"

#include <openssl/http.h>
#include <openssl/httperr.h>
#include <openssl/ssl.h>

#include <charconv>
#include <chrono>
#include <ctime>
#include <memory>
#include <string_view>
#include <system_error>

#include "pki/openssl.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/messages.h"
#include "tools/terminal/system.h"
#include "tools/terminal/system_trust.h"

namespace zepasign::tools {
namespace {

using SslCtxPtr = std::unique_ptr<SSL_CTX, FreeWith<SSL_CTX_free>>;

// kMaxHead: of the status line and header lines of an answer.
constexpr std::size_t kMaxHead = std::size_t{16} * 1024;
constexpr unsigned kNap = 100;  // milliseconds between two looks at a connection that is being made
constexpr int kGoodStatus = 200;
constexpr int kTooManyRequests = 429;
constexpr int kServerFailure = 500;

// Url: the parts of an address; `query` follows the path.
struct Url {
  bool isTls = false;
  std::string host = {};
  std::string port = {};
  std::string path = {};
};

bool parseUrl(const std::string& text, Url& url) {
  const ErrorScope errors;
  if (text.find("://") == std::string::npos) return false;  // the crypto library would take it for http
  int isTls = 0;
  char* parts[5] = {};
  const bool isParsed = OSSL_HTTP_parse_url(text.c_str(), &isTls, &parts[0], &parts[1], &parts[2], nullptr, &parts[3],
                                            &parts[4], nullptr) == 1;
  const OpenSslTextPtr user(parts[0]);
  const OpenSslTextPtr host(parts[1]);
  const OpenSslTextPtr port(parts[2]);
  const OpenSslTextPtr path(parts[3]);
  const OpenSslTextPtr query(parts[4]);
  if (!isParsed || *host == '\0' || (user && *user != '\0')) return false;
  const bool hasQuery = query && *query != '\0';
  url = {isTls != 0, host.get(), port.get(), path.get() + (hasQuery ? "?" + std::string(query.get()) : "")};
  return true;
}

// Connection: what is known of one exchange while it goes on.
class Connection final {
 public:
  Connection(const Url& url, const HttpQuestion& question)
      : url_(url), question_(question), deadline_(Clock::now() + std::chrono::seconds(question.timeout)) {}

  // answer: by the crypto library's client, which calls `update` when it is connected and before it disconnects.
  [[nodiscard]] HttpAnswer answer() {
    const ErrorScope errors;
    if (url_.isTls && !prepareTls()) return {HttpAnswer::Result::kUnusable, "", errors.firstText()};
    if (!usesProxy() && !connect()) return failure();
    const BioPtr body(BIO_new_mem_buf(question_.body.data(), static_cast<int>(question_.body.size())));
    const BioPtr received(OSSL_HTTP_transfer(nullptr, url_.host.c_str(), url_.port.c_str(), url_.path.c_str(),
                                             url_.isTls ? 1 : 0, nullptr, nullptr, stream_.get(), nullptr, update, this,
                                             0, nullptr, question_.contentType, body.get(), question_.answerType, 1,
                                             kMaxAnswer, static_cast<int>(question_.timeout), 0));
    if (!received) return failure();
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(received.get(), &bytes);
    return {HttpAnswer::Result::kReceived, std::string(bytes, static_cast<std::size_t>(length))};
  }

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] bool usesProxy() const {
    return OSSL_HTTP_adapt_proxy(nullptr, nullptr, url_.host.c_str(), url_.isTls ? 1 : 0) != nullptr;
  }

  // connect: the crypto library's client would try again and again until the time is over, also when the connection is
  // refused; it does so with a proxy.
  bool connect() {
    stream_.reset(BIO_new_connect(url_.host.c_str()));
    if (!stream_ || BIO_set_conn_port(stream_.get(), url_.port.c_str()) != 1) return false;
    BIO_set_nbio(stream_.get(), 1);
    const std::time_t limit = std::time(nullptr) + question_.timeout;
    while (BIO_do_connect(stream_.get()) <= 0) {
      if (!BIO_should_retry(stream_.get()) || Interruption::signal() != 0) return false;
      if (BIO_wait(stream_.get(), limit, kNap) == 0) return false;
    }
    return true;
  }

  bool prepareTls() {
    tls_.reset(SSL_CTX_new(TLS_client_method()));
    if (!tls_ || SSL_CTX_set_min_proto_version(tls_.get(), TLS1_2_VERSION) != 1) return false;
    SSL_CTX_set_verify(tls_.get(), SSL_VERIFY_PEER, nullptr);
    if (question_.authorities == nullptr) return trustSystem(tls_.get());
    return X509_VERIFY_PARAM_set_flags(SSL_CTX_get0_param(tls_.get()), X509_V_FLAG_PARTIAL_CHAIN) == 1 &&
           SSL_CTX_set1_verify_cert_store(tls_.get(), question_.authorities) == 1;
  }

  // update: the crypto library's callback; returns the stream to use, null when there is none.
  static BIO* update(BIO* stream, void* self, int isConnecting, int /*detail*/) {
    if (isConnecting == 0) return stream;
    auto* connection = static_cast<Connection*>(self);
    BIO* whole = connection->tls_ ? connection->addTls(stream) : stream;
    if (whole != nullptr) connection->setWatch(whole);
    return whole;
  }

  void setWatch(BIO* stream) {
    BIO_set_callback_ex(stream, watch);
    BIO_set_callback_arg(stream, static_cast<char*>(static_cast<void*>(this)));
  }

  // openTunnel: through the proxy to the server.
  bool openTunnel(BIO* stream) {
    const BioPtr nowhere(BIO_new(BIO_s_null()));
    setWatch(stream);
    isProxyRefusal_ = OSSL_HTTP_proxy_connect(stream, url_.host.c_str(), url_.port.c_str(), nullptr, nullptr,
                                              static_cast<int>(question_.timeout), nowhere.get(), "") != 1;
    BIO_set_callback_ex(stream, nullptr);
    if (!isProxyRefusal_) status_.clear();
    return !isProxyRefusal_;
  }

  BIO* addTls(BIO* stream) {
    if (usesProxy() && !openTunnel(stream)) return nullptr;
    BioPtr tls(BIO_new_ssl(tls_.get(), 1));
    SSL* session = nullptr;
    if (!tls || BIO_get_ssl(tls.get(), &session) != 1 || !setHost(session)) return nullptr;
    BIO* whole = BIO_push(tls.release(), stream);
    if (stream_.release() != nullptr) stream_.reset(whole);  // that of a proxy is the client's own
    return whole;
  }

  // setHost: the name or address that the server's certificate must hold.
  bool setHost(SSL* session) const {
    X509_VERIFY_PARAM* param = SSL_get0_param(session);
    if (X509_VERIFY_PARAM_set1_ip_asc(param, url_.host.c_str()) == 1) return true;
    std::string name = url_.host;  // the crypto library copies it
    return SSL_ctrl(session, SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name, name.data()) == 1 &&
           SSL_set1_host(session, name.c_str()) == 1;
  }

  // watch: called for each operation on the stream; -1 makes it fail.
  static long watch(BIO* stream, int operation, const char* bytes, std::size_t /*length*/, int /*argi*/, long /*argl*/,
                    int result, std::size_t* count) {
    const bool isRead = operation == (BIO_CB_READ | BIO_CB_RETURN) || operation == (BIO_CB_GETS | BIO_CB_RETURN);
    if (!isRead && operation != (BIO_CB_WRITE | BIO_CB_RETURN)) return result;
    auto* self = static_cast<Connection*>(static_cast<void*>(BIO_get_callback_arg(stream)));
    const bool hasArrived = isRead && result > 0;
    if (hasArrived ? self->note({bytes, *count}) : result > 0 || Interruption::signal() == 0) return result;
    BIO_clear_retry_flags(stream);
    return -1;
  }

  bool note(std::string_view bytes) {
    static constexpr std::size_t kStatusLength = std::string_view("HTTP/1.1 200").size();
    received_ += bytes.size();
    status_.append(bytes.substr(0, kStatusLength - status_.size()));
    return !isTooLong() && !isLate();
  }

  [[nodiscard]] bool isTooLong() const { return received_ > kMaxHead + kMaxAnswer; }
  [[nodiscard]] bool isLate() const { return Clock::now() >= deadline_; }

  // status: the number in the status line, 0 when there was none.
  [[nodiscard]] int status() const {
    int number = 0;
    const std::size_t blank = status_.find(' ');
    if (!status_.starts_with("HTTP/") || blank == std::string::npos) return 0;
    std::from_chars(status_.data() + blank + 1, status_.data() + status_.size(), number);
    return number;
  }

  // failure: what the crypto library's first error means.
  [[nodiscard]] HttpAnswer failure() const {
    using enum HttpAnswer::Result;
    if (isTooLong()) return {kUnusable, "", tr("its answer is too long"_m)};
    if (Interruption::signal() != 0) return {kNoAnswer, "", tr("interrupted"_m)};
    const std::string limit = std::to_string(question_.timeout);
    if (isLate() || hasTimedOut()) return {kNoAnswer, "", tr("no answer within {0} seconds"_m, {limit})};
    const int code = status();
    if (code >= 300 && code < 400) return {kUnusable, "", tr("it redirects to another address"_m)};
    if (code != 0 && code != kGoodStatus) {
      const bool mayPass = code == kTooManyRequests || code >= kServerFailure;
      return {mayPass ? kNoAnswer : kUnusable, "", statusText(std::to_string(code))};
    }
    return {isBroken() ? kNoAnswer : kUnusable, "", errorText()};
  }

  [[nodiscard]] std::string statusText(const std::string& code) const {
    return isProxyRefusal_ ? tr("the proxy answers with HTTP status {0}"_m, {code})
                           : tr("it answers with HTTP status {0}"_m, {code});
  }

  // hasTimedOut: the crypto library counts whole seconds, so that its time may be over a little earlier.
  static bool hasTimedOut() {
    const unsigned long error = ERR_peek_error();
    const int reason = ERR_GET_REASON(error);
    return ERR_GET_LIB(error) == ERR_LIB_BIO && (reason == BIO_R_TRANSFER_TIMEOUT || reason == BIO_R_CONNECT_TIMEOUT);
  }

  // isBroken: whether the connection failed, rather than what came over it.
  static bool isBroken() {
    const unsigned long error = ERR_peek_error();
    const int reason = ERR_GET_REASON(error);
    if (error == 0 || ERR_SYSTEM_ERROR(error) || ERR_GET_LIB(error) == ERR_LIB_BIO) return true;
    if (ERR_GET_LIB(error) == ERR_LIB_SSL) return reason == SSL_R_UNEXPECTED_EOF_WHILE_READING;
    return ERR_GET_LIB(error) == ERR_LIB_HTTP &&
           (reason == HTTP_R_FAILED_READING_DATA || reason == HTTP_R_ERROR_RECEIVING || reason == HTTP_R_ERROR_SENDING);
  }

  static std::string errorText() {
    const char* data = "";
    int flags = 0;
    const unsigned long error = ERR_peek_error_all(nullptr, nullptr, nullptr, &data, &flags);
    const std::string details = ERR_GET_LIB(error) == ERR_LIB_BIO && (flags & ERR_TXT_STRING) != 0 ? data : "";
    const int reason = ERR_GET_REASON(error);
    if (ERR_SYSTEM_ERROR(error)) return fromTerminal(std::system_category().message(reason));
    const bool isHttp = ERR_GET_LIB(error) == ERR_LIB_HTTP;
    if (isHttp && reason == HTTP_R_MAX_RESP_LEN_EXCEEDED) return tr("its answer is too long"_m);
    if (isHttp && reason == HTTP_R_UNEXPECTED_CONTENT_TYPE) return tr("its answer is of another content type"_m);
    if (isBroken() && ERR_GET_LIB(error) != ERR_LIB_BIO) return tr("it closed the connection"_m);
    if (!details.empty()) return fromTerminal(details);
    const char* text = ERR_reason_error_string(error);
    return text == nullptr ? std::to_string(reason) : text;
  }

  const Url& url_;
  const HttpQuestion& question_;
  const Clock::time_point deadline_;
  SslCtxPtr tls_;
  BioPtr stream_;  // the connection, with TLS on top; null with a proxy
  bool isProxyRefusal_ = false;
  std::size_t received_ = 0;
  std::string status_ = {};
};

}  // namespace

bool isHttpUrl(const std::string& text) {
  Url url;
  return parseUrl(text, url);
}

HttpAnswer ask(const HttpQuestion& question) {
  Url url;
  if (!parseUrl(question.url, url)) return {HttpAnswer::Result::kUnusable};
  return Connection(url, question).answer();
}

}  // namespace zepasign::tools
