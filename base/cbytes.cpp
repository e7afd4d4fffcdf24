#include "base/cbytes.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

#include "base/base64.h"
#include "base/big5.h"
#include "base/clog.h"

namespace zepasign {
namespace {

constexpr std::string_view kDashes = "-----";  // of a PEM boundary (RFC 7468)

unsigned hexDigit(char c) {
  const int upper = std::toupper(static_cast<unsigned char>(c));
  return static_cast<unsigned>(upper < ':' ? upper - '0' : upper - ('A' - 10));
}

// findPemBody: the text between the two PEM boundaries; false when one of them is not closed.
bool findPemBody(std::string_view text, std::string_view& body) {
  text.remove_prefix(std::min(text.find_first_not_of('-'), text.size()));
  const std::size_t begin = text.find(kDashes);
  if (begin == std::string_view::npos) {
    logText(kError, "cBytes::base64Decode() ----- BEGIN 不對稱"_big5);
    return false;
  }
  text.remove_prefix(begin);
  text.remove_prefix(std::min(text.find_first_not_of("-\r\n"), text.size()));
  const std::size_t end = text.find(kDashes);
  if (end == std::string_view::npos) {
    logText(kError, "cBytes::base64Decode() ----- END 不對稱"_big5);
    return false;
  }
  body = text.substr(0, end);
  return true;
}

}  // namespace

bool cBytes::set(const void* source, int length) {
  if (source == nullptr || length < 1) {
    clear();
    return false;
  }
  replace(static_cast<std::size_t>(length));
  std::memcpy(data(), source, static_cast<std::size_t>(length));
  return true;
}

bool cBytes::allocate(int length) {
  clear();
  if (length < 1) return false;
  replace(static_cast<std::size_t>(length));
  return true;
}

void cBytes::truncate(int length) noexcept {
  std::memset(data() + length, 0, static_cast<std::size_t>(this->length() - length));
  shorten(static_cast<std::size_t>(length));
}

bool cBytes::setFromHex(const char* text) {
  clear();
  const std::size_t length = text == nullptr ? 0 : std::strlen(text);
  if (length == 0 || length % 2 != 0) return false;
  replace(length / 2);
  for (std::size_t i = 0; i < length; i += 2) {
    data()[i / 2] = static_cast<unsigned char>(16 * hexDigit(text[i]) + hexDigit(text[i + 1]));
  }
  return true;
}

bool cBytes::base64Decode(const char* text) {
  clear();
  std::string_view body = text == nullptr ? "" : text;
  if (body.find(kDashes) != std::string_view::npos && !findPemBody(body, body)) return false;
  if (body.empty()) return false;
  replace(base64::decodedBound(body.size()));
  shorten(base64::decode(body, data()));
  if (length() == 0) clear();
  return length() > 0;
}

}  // namespace zepasign
