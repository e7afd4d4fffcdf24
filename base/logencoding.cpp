#include "base/logencoding.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace zepasign {
namespace {

// kMaxUtf8Size: bytes of one Unicode character in UTF-8.
constexpr std::size_t kMaxUtf8Size = 4;

bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

}  // namespace

bool LogEncoding::isUtf8Name(const char* name) noexcept { return equalsIgnoreCase(name, "UTF-8"); }

// choose: a second attempt, since the encoding is chosen once per process and a converter that finds no memory may not
// say so.
bool LogEncoding::choose(const char* name) {
  converter_.reset();
  if (!isUtf8Name(name)) return true;
  for (int attempt = 0; attempt < 2 && !converter_; ++attempt) {
    converter_.reset(platform::openConverter("UTF-8", "BIG5"));
    if (!converter_ && errno == ENOMEM) throw std::bad_alloc();
  }
  return converter_ != nullptr;
}

std::string_view LogEncoding::encode(std::string_view text, std::string& area) const {
  if (!converter_ || isUtf8(text)) return text;
  area.clear();
  appendConverted(text, area);
  return area;
}

std::string_view LogEncoding::encodeLines(std::string_view text, std::string& area) const {
  if (!converter_ || isUtf8(text)) return text;
  area.clear();
  std::string part;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
    const std::string_view label = line.substr(0, line.find(" = "));
    area += encode(label, part);
    area += encode(line.substr(label.size()), part);
    text.remove_prefix(line.size());
  }
  return area;
}

void LogEncoding::appendConverted(std::string_view text, std::string& result) const {
  while (!text.empty()) {
    char bytes[kMaxUtf8Size];
    char* out = bytes;
    std::size_t room = sizeof bytes;
    std::size_t size = std::min<std::size_t>(text.size(), 2);  // a Big5 character beyond ASCII has two bytes
    char* in = const_cast<char*>(text.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast): only read
    const bool isCharacter = !isAscii(text.front()) && size == 2 &&
                             platform::convert(converter_.get(), &in, &size, &out, &room) != platform::kNotConverted;
    if (isCharacter) {
      result.append(bytes, sizeof bytes - room);
    } else {
      result += text.front();
    }
    text.remove_prefix(isCharacter ? 2 : 1);
  }
}

}  // namespace zepasign
