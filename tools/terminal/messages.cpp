#include "tools/terminal/messages.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "base/errors.h"
#include "tools/terminal/encoding.h"

namespace zepasign::tools {
namespace {

bool chineseChosen = false;

struct Meaning {
  int code;
  Message message;
};

// In plainer words than the library's own short texts, which say nothing at all of 5204 and 5208.
constexpr Meaning kMeanings[] = {
    {kFileUnreadable, "the file cannot be read, or is not a regular file"_m},
    {1003, "the output cannot be written"_m},
    {kPfxFileUnreadable, "the PFX file cannot be read, or is not a PFX"_m},
    {kPropertyFileUnreadable, "the property file cannot be read, holds no setting, or has a line that is too long"_m},
    {kGeneralError, "general error; see the log"_m},
    {kOutOfMemory, "not enough memory, or the content is too large to sign"_m},
    {kWrongParameter, "a setting or an argument is missing or wrong, or there is nothing to sign"_m},
    {kCertificateNotFound, "the signer's certificate does not satisfy PFX.signerFilter"_m},
    {kSigningFailed, "signing failed; PKCS7.digest must be SHA1 or SHA256, and the key RSA or EC"_m},
    {kEncryptionFailed, "the password is too long"_m},
    {kPfxNotLoaded, "no PFX is loaded"_m},
    {kPasswordOrKeyWrong, "the PFX password or PSWD.license is wrong, or the PFX is damaged"_m},
    {kTextConversionFailed, "the text is not Big5 or cannot be converted"_m}};

}  // namespace

void useChinese(bool chinese) { chineseChosen = chinese; }

std::string tr(const Message& message, std::initializer_list<std::string> arguments) {
  const std::string_view text = chineseChosen ? message.chinese : message.english;
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isPlace = text[i] == '{' && i + 2 < text.size() && text[i + 2] == '}';
    const auto index = isPlace ? static_cast<std::size_t>(text[i + 1] - '0') : arguments.size();
    if (index < arguments.size()) {
      result += arguments.begin()[index];
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

std::string codeText(int code) {
  const auto* known = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                   [code](const Meaning& meaning) { return meaning.code == code; });
  if (known == std::end(kMeanings)) return fromBig5(errorCodeToMessage(code));
  return tr(known->message) + " (" + std::to_string(code) + ")";
}

std::string labelText(std::string_view name) {
  const auto* known = std::find_if(std::begin(kMessages), std::end(kMessages),
                                   [name](const Message& each) { return each.english == name; });
  if (chineseChosen && known != std::end(kMessages)) return std::string(known->chinese);
  std::string words;
  for (const char c : name) {
    const auto upper = static_cast<unsigned char>(c);
    if (std::isupper(upper) != 0 && !words.empty()) words += ' ';
    words += words.empty() ? c : static_cast<char>(std::tolower(upper));
  }
  return words;
}

}  // namespace zepasign::tools
