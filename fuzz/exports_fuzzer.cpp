// The seventeen exports in any order, with any arguments, and with a property file that the input changes.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <iterator>

#include "api/ZEPASignDLL.h"
#include "base/charset.h"
#include "demo/handles.h"
#include "fuzz/fuzz_support.h"

namespace {

using zepasign::fuzz::fixture;
using zepasign::fuzz::require;

// encedPassword: what MakeZEPASignPasswd made last; initialisation takes it beside kLicense and kAuthKey.
std::string encedPassword = zepasign::demo::kCallersPassword;
const std::string kLicense(64, 'A');
using zepasign::demo::kAuthKey;

// setOne: one setting gets a value that leads elsewhere, or any text. Directories get no other, so that the fuzzer
// stays within its own.
void setOne(FuzzedDataProvider& input, zepasign::demo::Properties& properties) {
  static const std::pair<const char*, std::string> kSettings[] = {
      {"CRL.path", ""},
      {"P7B.path", ""},
      {"LOG.level", "DEBUG"},
      {"LOG.level", "ERROR"},
      {"P7B0.SKI", "00"},
      {"P7B0.crlFile0", "chain.p7b"},
      {"P7B0.crlFile1", "ca.crl"},
      {"P7B0.name", "ca.crl"},
      {"P7B1.name", "chain.p7b"},
      {"PFX.file", "chained.pfx"},
      {"PFX.file", "ca.crl"},
      {"PFX.pswd", ""},
      {"PFX.pswdB64", zepasign::demo::kStoredPassword},
      {"PFX.signerFilter", "//S_CN=Test Signer,I_O=Zepa Test//"},
      {"PKCS7.addCert", "0"},
      {"PKCS7.addPlainText", "FALSE"},
      {"PKCS7.addTimestamp", "TRUE"},
      {"PKCS7.digest", "SHA1"},
      {"PSWD.authKey", kAuthKey},
      {"PSWD.license", "AA"},
  };
  const auto& [key, value] = kSettings[input.ConsumeIntegralInRange<std::size_t>(0, std::size(kSettings) - 1)];
  const bool directory = std::string(key).ends_with(".path");
  properties[key] = directory || input.ConsumeBool() ? value : input.ConsumeRandomLengthString(40);
}

void initialise(FuzzedDataProvider& input) {
  zepasign::demo::Properties properties = fixture().properties;
  while (input.ConsumeBool()) setOne(input, properties);
  const std::string file = fixture().directory.write(
      "fuzz.properties", zepasign::demo::propertyText(properties) + input.ConsumeRandomLengthString(60));
  const std::string password = input.ConsumeBool() ? encedPassword : input.ConsumeRandomLengthString(60);
  require(ZEPASignInitial(file.c_str(), password.c_str()) == (GetErrorCode() == 0));
}

void makePassword(FuzzedDataProvider& input) {
  const std::string license = input.ConsumeBool() ? kLicense : input.ConsumeRandomLengthString(70);
  const std::string authKey = input.ConsumeBool() ? kAuthKey : input.ConsumeRandomLengthString(20);
  const std::string file =
      fixture().directory.write("passwd.properties", "PSWD.license=" + license + "\nPSWD.authKey=" + authKey + "\n");
  const std::string password =
      input.ConsumeBool() ? zepasign::demo::PfxPlan{}.password : input.ConsumeRandomLengthString(600);
  std::string area(input.ConsumeIntegralInRange<std::size_t>(0, 1000), 'x');
  int size = static_cast<int>(area.size());
  if (MakeZEPASignPasswd(area.data(), &size, file.c_str(), password.c_str()) == 0) {
    encedPassword = area.substr(0, static_cast<std::size_t>(size));
  }
}

// checkSignature: libcrypto accepts the signature over these bytes and finds them in it unless it is detached.
void checkSignature(const std::string& content) {
  using namespace zepasign;
  const X509StackPtr signers(sk_X509_new_null());
  sk_X509_push(signers.get(), fixture().signer.certificate.get());
  cBytes der;
  require(der.base64Decode(GetSignedPkcs7()));
  const Pkcs7Ptr pkcs7(demo::decode<d2i_PKCS7>({der.data(), der.data() + der.length()}));
  const bool isDetached = PKCS7_get_detached(pkcs7.get()) != 0;
  const BioPtr in(isDetached ? BIO_new_mem_buf(content.data(), static_cast<int>(content.size())) : nullptr);
  const BioPtr out(BIO_new(BIO_s_mem()));
  require(PKCS7_verify(pkcs7.get(), signers.get(), nullptr, in.get(), out.get(), PKCS7_NOVERIFY) == 1);
  char* found = nullptr;
  const long length = BIO_get_mem_data(out.get(), &found);
  require(content == std::string(found, static_cast<std::size_t>(length)));
}

void sign(FuzzedDataProvider& input, int operation) {
  std::string content = input.ConsumeRandomLengthString(300);
  int code = 0;
  if (operation == 0) {
    const std::string encoding = input.ConsumeBool() ? "UTF-16LE" : input.ConsumeRandomLengthString(12);
    code = SignPkcs7(content.c_str(), encoding.c_str());
    zepasign::cBytes signedBytes;
    require(code != 0 || zepasign::convertUniCodeStringToAny(content.c_str(), encoding.c_str(), &signedBytes));
    content.assign(reinterpret_cast<const char*>(signedBytes.data()), static_cast<std::size_t>(signedBytes.length()));
  } else if (operation == 1) {
    code = SignPkcs7Bin(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  } else {
    code = SignPkcs7File(fixture().directory.write("content", content).c_str());
  }
  require(code == GetErrorCode() && (code == 0) == (GetSignedPkcs7() != nullptr));
  if (code == 0) checkSignature(content);
}

void query(FuzzedDataProvider& input) {
  using Query = char* (*)();
  static constexpr Query kQueries[] = {GetSignerCertB64,    GetSignerCertSubjectCN, GetSignerCertSubject,
                                       GetSignerCertIssuer, GetSignerCertNotBefore, GetSignerCertNotAfter,
                                       GetSignerCertSerial, GetSignerCertFinger,    GetErrorMsg,
                                       GetPkiVersion,       GetSignedPkcs7};
  const int code = GetErrorCode();
  const char* text = kQueries[input.ConsumeIntegralInRange<std::size_t>(0, std::size(kQueries) - 1)]();
  if (text != nullptr) static_cast<void>(std::strlen(text));
  require(GetErrorCode() == code);
}

// Log: the log of the process in a directory of its own, chosen before any input can choose another.
class Log final {
 public:
  Log() {
    const std::string file =
        fixture().directory.write("log.properties", "LOG.path=" + directory_.path() + "\nLOG.file=log\n");
    require(!ZEPASignInitial(file.c_str(), nullptr));
  }
  void keepShort() const {
    for (const auto& file : std::filesystem::directory_iterator(directory_.path())) {
      if (file.file_size() > kMaxBytes) std::filesystem::remove(file);
    }
  }

 private:
  static constexpr std::uintmax_t kMaxBytes = 1 << 20;
  zepasign::demo::TempDirectory directory_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Log log;
  log.keepShort();
  FuzzedDataProvider input(data, size);
  for (int calls = 0; calls < 20 && input.remaining_bytes() > 0; ++calls) {
    const int operation = input.ConsumeIntegralInRange(0, 6);
    if (operation <= 2) {
      sign(input, operation);
    } else if (operation == 3) {
      initialise(input);
    } else if (operation == 4) {
      makePassword(input);
    } else {
      query(input);
    }
  }
  return 0;
}
