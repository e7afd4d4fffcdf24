#include "base/charset.h"

#include <cerrno>
#include <memory>
#include <new>

#include "base/big5.h"
#include "base/clog.h"
#include "base/platform.h"
#include "base/text.h"

namespace zepasign {
namespace {

constexpr const char* kSourceEncoding = "BIG5";
// kSpareSpace: beyond two bytes for each byte of Big5, which UTF-16 needs at most: room for a byte-order mark or shift
// sequences, and proof that the result was not cut off (some of it must stay free).
constexpr std::size_t kSpareSpace = 100;

// CloseConverter: keeps the errno that the conversion left.
struct CloseConverter {
  void operator()(void* converter) const noexcept {
    const int kept = errno;
    platform::closeConverter(converter);
    errno = kept;
  }
};
using ConverterPtr = std::unique_ptr<void, CloseConverter>;

// convertAll: the whole text in one call; the produced length, 0 when the text did not convert.
std::size_t convertAll(platform::Converter converter, const char* text, std::size_t length, cBytes& area) {
  char* in = const_cast<char*>(text);  // NOLINT(cppcoreguidelines-pro-type-const-cast): read only, as iconv declares it
  char* out = reinterpret_cast<char*>(area.data());
  std::size_t inLeft = length;
  auto outLeft = static_cast<std::size_t>(area.length());
  if (platform::convert(converter, &in, &inLeft, &out, &outLeft) == platform::kNotConverted) return 0;
  const std::size_t produced = static_cast<std::size_t>(area.length()) - outLeft;
  return inLeft == 0 && outLeft != 0 ? produced : 0;
}

void allocateArea(cBytes& area, std::size_t size) {
  try {
    if (size > static_cast<std::size_t>(kMaxLength)) throw std::bad_alloc();
    area.allocate(static_cast<int>(size));
  } catch (const std::bad_alloc&) {
    logText(kError, "配置 記憶體 失敗"_big5);
    throw;
  }
}

}  // namespace

bool convertUniCodeStringToAny(const char* text, const char* target, cBytes* output) {
  if (isEmpty(text) || output == nullptr) return false;
  output->clear();
  const ConverterPtr converter(platform::openConverter(target, kSourceEncoding));
  if (!converter) {
    if (errno == ENOMEM) throw std::bad_alloc();
    logText(kError, "iconv_open() 失敗"_big5);
    return false;
  }
  const std::size_t length = std::strlen(text);
  allocateArea(*output, 2 * length + kSpareSpace);
  const std::size_t produced = convertAll(converter.get(), text, length, *output);
  if (produced == 0) {
    output->clear();
    return false;
  }
  output->truncate(static_cast<int>(produced));
  if (equalsIgnoreCase(target, kSourceEncoding)) output->set(text, static_cast<int>(length));
  return true;
}

}  // namespace zepasign
