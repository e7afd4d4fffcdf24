#include "signer.h"

#include <climits>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>

#include "../c/platform.h"
#include "ZEPASignDLL.h"

namespace signer {
namespace {

constexpr int kPropertyFileUnreadable = 1202;

std::mutex mutex;

struct Free {
  void operator()(char* text) const noexcept { std::free(text); }
};
using Text = std::unique_ptr<char, Free>;

void check(bool succeeded, const std::string& function) {
  if (succeeded) return;
  const Text message(big5ToUtf8(GetErrorMsg()));
  throw Error(function, GetErrorCode(), message ? message.get() : "");
}

// withoutNul: the text for the library, which would take a NUL for its end.
const char* withoutNul(const std::string& text) {
  if (text.find('\0') != std::string::npos) throw std::invalid_argument("a text for the library holds a NUL");
  return text.c_str();
}

// sign: calls and, with the lock still held, copies what belongs to the signature.
template <class Call>
Signature sign(const std::string& function, Call call) {
  const std::lock_guard<std::mutex> guard(mutex);
  check(call() == 0, function);
  return {GetSignedPkcs7(),
          {GetSignerCertB64(), GetSignerCertSubjectCN(), GetSignerCertSubject(), GetSignerCertIssuer(),
           GetSignerCertNotBefore(), GetSignerCertNotAfter(), GetSignerCertSerial(), GetSignerCertFinger()}};
}

std::string readEnced(const std::string& fileName) {
  std::ifstream file(fileName);
  std::string enced;
  if (!(file >> enced)) throw std::invalid_argument("no encrypted password in " + fileName);
  return enced;
}

std::optional<std::string> credentialFile() {
  const char* directory = std::getenv("CREDENTIALS_DIRECTORY");
  if (directory == nullptr) return std::nullopt;
  std::string file = std::string(directory) + "/enced";
  if (!std::ifstream(file)) return std::nullopt;
  return file;
}

}  // namespace

std::string Certificate::commonName() const {
  const Text name(commonNameOf(base64.c_str()));
  return name ? name.get() : "";
}

std::string version() { return GetPkiVersion(); }

void initialize(const std::string& propertyFile, std::optional<std::string> encedFile) {
  if (!encedFile) encedFile = credentialFile();
  const std::string enced = encedFile ? readEnced(*encedFile) : "";
  const std::lock_guard<std::mutex> guard(mutex);
  check(ZEPASignInitial(withoutNul(propertyFile), enced.empty() ? nullptr : withoutNul(enced)), "ZEPASignInitial");
}

Signature signText(const std::string& utf8, const std::string& encoding) {
  const Text big5(utf8ToBig5(withoutNul(utf8)));
  if (!big5) throw std::invalid_argument("Big5 lacks a character of the text");
  return sign("SignPkcs7", [&] { return SignPkcs7(big5.get(), withoutNul(encoding)); });
}

Signature signBytes(const void* data, std::size_t length) {
  if (length > INT_MAX) throw std::invalid_argument("more than 2147483647 bytes");
  auto* bytes = static_cast<unsigned char*>(const_cast<void*>(data));  // reads them only
  return sign("SignPkcs7Bin", [&] { return SignPkcs7Bin(bytes, static_cast<int>(length)); });
}

Signature signFile(const std::string& fileName) {
  return sign("SignPkcs7File", [&] { return SignPkcs7File(withoutNul(fileName)); });
}

std::string encryptPassword(const std::string& propertyFile, const std::string& password) {
  int length = 0;
  std::string enced;
  const auto make = [&](char* out) {
    return MakeZEPASignPasswd(out, &length, withoutNul(propertyFile), withoutNul(password));
  };
  const std::lock_guard<std::mutex> guard(mutex);
  int code = make(nullptr);                                      // asks for the length
  if (code == 0 && length == 0) code = kPropertyFileUnreadable;  // the library returns 0 here
  enced.resize(static_cast<std::size_t>(length));
  if (code == 0) code = make(enced.data());
  if (code != 0) throw Error("MakeZEPASignPasswd", code, "see the log");
  return enced;
}

}  // namespace signer
