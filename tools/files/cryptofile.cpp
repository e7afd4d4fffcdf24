#include "tools/files/cryptofile.h"

#include <openssl/pem.h>

#include "base/base64.h"
#include "pki/cpkcs12.h"
#include "tools/files/dercodec.h"
#include "tools/files/source.h"

namespace zepasign::tools {
namespace {

void addDer(const std::string& der, CryptoFile& file) {
  if (auto certificate = fromDer<d2i_X509, X509Ptr>(der)) {
    file.certificates.push_back(std::move(certificate));
  } else if (auto crl = fromDer<d2i_X509_CRL, X509CrlPtr>(der)) {
    file.crls.push_back(std::move(crl));
  } else if (auto pkcs7 = fromDer<d2i_PKCS7, Pkcs7Ptr>(der); pkcs7 && PKCS7_type_is_signed(pkcs7.get())) {
    file.pkcs7 = std::move(pkcs7);
  } else if (auto pfx = fromDer<d2i_PKCS12, Pkcs12Ptr>(der)) {
    file.pfx = std::move(pfx);
  } else if (auto request = fromDer<d2i_X509_REQ, X509ReqPtr>(der)) {
    file.request = std::move(request);
  }
}

void addPem(const std::string& text, CryptoFile& file) {
  const BioPtr stream(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  char* label = nullptr;
  char* header = nullptr;
  unsigned char* data = nullptr;
  long length = 0;
  while (PEM_read_bio(stream.get(), &label, &header, &data, &length) == 1) {
    const OpenSslTextPtr ownedLabel(label);
    const OpenSslTextPtr ownedHeader(header);
    const std::unique_ptr<unsigned char, FreeWith<freeOpenSslBytes>> ownedData(data);
    file.hasPemObject = true;
    addDer(std::string(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length)), file);
  }
}

}  // namespace

bool mayBeKnown(std::string_view head) {
  constexpr char kDerSequence = 0x30;
  return !head.empty() && (head.front() == kDerSequence || head.find('\0') == std::string_view::npos);
}

CryptoFile parseCryptoFile(const std::string& bytes) {
  const ErrorScope errors;
  CryptoFile file;
  if (bytes.size() > kMaxFileLength) return file;
  addDer(bytes, file);
  file.isDer = !file.isEmpty();
  if (file.isEmpty()) addPem(bytes, file);
  if (file.isEmpty()) addDer(fromBase64(bytes), file);
  return file;
}

bool readCryptoFile(const std::string& path, CryptoFile& file) {
  std::string bytes;
  Source source(path);
  if (!mayBeKnown(source.head()) || !source.readRest(bytes, kMaxFileLength)) return source.isGood();
  file = parseCryptoFile(bytes);
  return true;
}

std::string fromBase64(const std::string& text) {
  std::string der(base64::decodedBound(text.size()), '\0');
  der.resize(base64::decode(text, reinterpret_cast<unsigned char*>(der.data())));
  return der;
}

STACK_OF(X509) * certificatesOf(const PKCS7* pkcs7) { return pkcs7->d.sign == nullptr ? nullptr : pkcs7->d.sign->cert; }

STACK_OF(PKCS7_SIGNER_INFO) * signersOf(const PKCS7* pkcs7) {
  return pkcs7->d.sign == nullptr ? nullptr : pkcs7->d.sign->signer_info;
}

bool openPfx(PKCS12* pfx, const std::string& password, PfxContent& content) {
  const ErrorScope errors;
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  STACK_OF(X509)* others = nullptr;
  if (macIterations(pfx) > kMaxMacIterations || PKCS12_verify_mac(pfx, password.c_str(), -1) != 1 ||
      PKCS12_parse(pfx, password.c_str(), &key, &certificate, &others) != 1) {
    return false;
  }
  content = {EvpPkeyPtr(key), X509Ptr(certificate), X509ListPtr(others)};
  return true;
}

}  // namespace zepasign::tools
