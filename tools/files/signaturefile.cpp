// How a complete signature is told by its first bytes. DER begins with the tag and the length of the whole structure
// and then names its type:
//
//   30 82 xx xx   06 09 2A 86 48 86 F7 0D 01 07 02   ...      SEQUENCE, length, pkcs7-signedData (RFC 2315)
//
// The length gives the size of the file in each form. A file that was cut off has another size; one that a power
// failure left behind is empty or begins with zeros.
#include "tools/files/signaturefile.h"

#include <openssl/asn1.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "base/base64.h"
#include "base/platform.h"
#include "tools/files/cryptofile.h"
#include "tools/terminal/filesystem.h"

namespace zepasign::tools {
namespace {

constexpr std::string_view kPemBegin = "-----BEGIN PKCS7-----\n";
constexpr std::string_view kPemEnd = "-----END PKCS7-----\n";
constexpr std::size_t kPemLineLength = 64;
constexpr std::string_view kSignedData("\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07\x02", 11);
// kHeaderSize: enough for tag (1), length (at most 5) and type (11), and whole groups of Base64 text.
constexpr std::size_t kHeaderSize = 24;
constexpr std::size_t kHeaderText = kHeaderSize / 3 * 4;

std::string toPem(const std::string& base64Text) {
  std::string pem(kPemBegin);
  for (std::size_t at = 0; at < base64Text.size(); at += kPemLineLength) {
    pem.append(base64Text, at, kPemLineLength).append("\n");
  }
  return pem.append(kPemEnd);
}

std::string toBase64(const std::string& der) {
  std::string text(base64::encodedLength(der.size()), '\0');
  base64::Encoder encoder(text.data());
  encoder.add({reinterpret_cast<const unsigned char*>(der.data()), der.size()});
  encoder.finish();
  return text;
}

// inLinesLike: the text in lines as long as the first one of `model`, with its line ends and the white space around it.
std::string inLinesLike(const std::string& model, const std::string& text) {
  constexpr const char* kWhiteSpace = " \t\r\n";
  const std::size_t from = std::min(model.find_first_not_of(kWhiteSpace), model.size());
  const std::size_t to = model.find_last_not_of(kWhiteSpace) + 1;
  const std::size_t end = std::min(model.find_first_of("\r\n", from), to);
  const std::size_t width = end < to ? end - from : text.size();
  const std::string lineEnd = end < to && model[end] == '\r' ? "\r\n" : "\n";
  std::string lines = model.substr(0, from);
  for (std::size_t at = 0; at < text.size(); at += width) lines.append(at == 0 ? "" : lineEnd).append(text, at, width);
  return lines + model.substr(to);
}

// derSize: of the whole structure that begins like this; 0 when it is no signature.
std::size_t derSize(const std::string& der) {
  if (der.size() < kHeaderSize) return 0;
  const ErrorScope errors;
  const auto* begin = reinterpret_cast<const unsigned char*>(der.data());
  const unsigned char* at = begin;
  long length = 0;
  int tag = 0;
  int tagClass = 0;
  // The bound is not that of the bytes here, but the library's for any signature.
  const int flags = ASN1_get_object(&at, &length, &tag, &tagClass, std::numeric_limits<int>::max());
  const auto headerSize = static_cast<std::size_t>(at - begin);
  const bool isSequence = flags == V_ASN1_CONSTRUCTED && tag == V_ASN1_SEQUENCE && tagClass == V_ASN1_UNIVERSAL;
  const bool isSignature = isSequence && std::string_view(der).substr(headerSize).starts_with(kSignedData);
  return isSignature ? headerSize + static_cast<std::size_t>(length) : 0;
}

// fileSizeOf: of a signature of that many bytes in DER.
std::size_t fileSizeOf(std::size_t size, SignatureForm form) {
  const std::size_t text = (size + 2) / 3 * 4;  // Base64: three bytes become four characters, the last ones padded
  if (form == SignatureForm::kDer) return size;
  if (form == SignatureForm::kBase64) return text + 1;
  return kPemBegin.size() + text + (text + kPemLineLength - 1) / kPemLineLength + kPemEnd.size();
}

}  // namespace

const char* signatureExtension(SignatureForm form) {
  if (form == SignatureForm::kDer) return ".p7s";
  return form == SignatureForm::kPem ? ".p7s.pem" : ".p7s.b64";
}

bool hasSignatureName(const std::string& path) {
  const std::size_t temp = path.rfind(kTempSuffix);
  const bool isTemp =
      temp != std::string::npos && path.find_first_not_of("0123456789", temp + kTempSuffix.size()) == std::string::npos;
  return isSignatureName(path.substr(0, isTemp ? temp : path.size()));
}

bool isSignatureName(const std::string& path) {
  for (const SignatureForm form : {SignatureForm::kBase64, SignatureForm::kDer, SignatureForm::kPem}) {
    if (path.ends_with(signatureExtension(form))) return true;
  }
  return false;
}

std::string encodeSignature(const std::string& base64Text, SignatureForm form) {
  if (form == SignatureForm::kDer) return fromBase64(base64Text);
  return form == SignatureForm::kPem ? toPem(base64Text) : base64Text + "\n";
}

std::string withDer(const std::string& file, const std::string& der) {
  constexpr char kDerSequence = 0x30;
  if (file.starts_with(kDerSequence)) return der;
  const std::size_t boundary = file.find("-----BEGIN ");
  const std::size_t from = boundary == std::string::npos ? 0 : file.find('\n', boundary) + 1;
  const std::size_t to = boundary == std::string::npos ? file.size() : file.find("-----END ", from);
  if (to == std::string::npos) return {};
  return file.substr(0, from) + inLinesLike(file.substr(from, to - from), toBase64(der)) + file.substr(to);
}

bool isSignatureFile(const std::string& path, SignatureForm form) {
  const platform::FilePtr file = platform::openForReading(path.c_str());
  if (!file) return false;
  const std::int64_t size = platform::fileSize(file.get());
  std::array<char, kPemBegin.size() + kHeaderText> block{};
  std::string beginning(block.data(), std::fread(block.data(), 1, block.size(), file.get()));
  if (form == SignatureForm::kPem) {
    if (!beginning.starts_with(kPemBegin)) return false;
    beginning.erase(0, kPemBegin.size());
  }
  const std::size_t der =
      derSize(form == SignatureForm::kDer ? beginning : fromBase64(beginning.substr(0, kHeaderText)));
  return der != 0 && static_cast<std::size_t>(size) == fileSizeOf(der, form);
}

}  // namespace zepasign::tools
