#include "tools/terminal/encoding.h"

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX

#include <algorithm>
#include <cstdlib>

namespace zepasign::tools {
namespace {

constexpr const char* kUtf8 = "UTF-8";

// localeName: what the user set, in the order in which the system asks.
std::string localeName() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets variables
    if (value != nullptr && *value != '\0') return value;
  }
  return "C";
}

// findTerminalEncoding: of the locale, or what its name says when it is not installed. Plain ASCII counts as UTF-8,
// which is what terminals of systems without a locale speak.
std::string findTerminalEncoding() {
  if (const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr); locale != nullptr) {
    const std::string codeset = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return codeset.starts_with("ANSI_X3.4") ? kUtf8 : codeset;
  }
  const std::string name = localeName();
  const std::size_t point = name.find('.');
  return point == std::string::npos ? kUtf8 : name.substr(point + 1, name.find('@') - point - 1);
}

const std::string& terminalEncoding() {
  static const std::string encoding = findTerminalEncoding();
  return encoding;
}

// resultBound: room for `size` converted bytes. One byte becomes at most one character, of which no encoding of a
// terminal needs more than four bytes; encodings with states add escape sequences, for which kStateChanges is ample.
std::size_t resultBound(std::size_t size) {
  constexpr std::size_t kMaxCharacterSize = 4;
  constexpr std::size_t kStateChanges = 16;
  return kMaxCharacterSize * size + kStateChanges;
}

// convert: ASCII is the same in all encodings that occur here, and needs no converter.
std::string convert(const std::string& text, const std::string& from, const std::string& to) {
  if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) return text;
  const iconv_t converter = iconv_open(to.c_str(), from.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return text;  // NOLINT(performance-no-int-to-ptr): its failure value
  std::string source = text;
  std::string result(resultBound(text.size()), '\0');
  char* in = source.data();
  char* out = result.data();
  std::size_t inLeft = source.size();
  std::size_t outLeft = result.size();
  bool insideCharacter = false;  // further bytes of a replaced UTF-8 character are dropped
  while (inLeft > 0 && iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) {
    const bool continues = from == kUtf8 && insideCharacter && (static_cast<unsigned char>(*in) & 0xC0U) == 0x80;
    if (!continues) *out++ = '?', --outLeft;
    ++in, --inLeft;
    insideCharacter = true;
  }
  iconv_close(converter);
  result.resize(result.size() - outLeft);
  return result;
}

}  // namespace

bool prefersChinese() { return localeName().starts_with("zh") && fromTerminal(toTerminal("憑證檔")) == "憑證檔"; }

std::string toTerminal(const std::string& utf8) { return convert(utf8, kUtf8, terminalEncoding()); }
std::string fromTerminal(const std::string& bytes) {
  return terminalEncoding() == kUtf8 ? toUtf8(bytes) : convert(bytes, terminalEncoding(), kUtf8);
}
std::string fromBig5(const std::string& bytes) { return convert(bytes, "BIG5", kUtf8); }

std::string toUtf8(const std::string& bytes) {
  const std::string same = convert(bytes, kUtf8, kUtf8);
  return same == bytes ? same : fromBig5(bytes);
}

}  // namespace zepasign::tools
