// The seventeen exports in any order, with any arguments, and with a property file that the input garbles.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <iterator>

#include "api/ZEPASignDLL.h"
#include "base/caescipher.h"
#include "base/cchars.h"
#include "base/charset.h"
#include "demo/handles.h"
#include "fuzz/fuzz_support.h"

namespace {

using zepasign::fuzz::require;
using zepasign::fuzz::stage;

// encedPassword: what MakeZEPASignPasswd made last; initialisation takes it beside kLicense and kAuthKey.
std::string encedPassword = "none yet";
const std::string kLicense(64, 'A');
constexpr const char* kAuthKey = "payroll";

// storedPassword: the PFX's password as PFX.pswdB64 holds it.
std::string storedPassword() {
  const std::vector<unsigned char> key(zepasign::cAesCipher::kKeySize, 0xAA);
  const zepasign::testing::PfxPlan plan;
  zepasign::cAesCipher cipher;
  unsigned char area[64];
  int length = sizeof area;
  require(cipher.setKey(key.data(), key.data()) &&
          cipher.encrypt(reinterpret_cast<const unsigned char*>(plan.password.data()),
                         static_cast<int>(plan.password.size()), area, &length) == 0);
  zepasign::cChars text;
  require(text.base64Encode(area, length));
  return text.data();
}

// setOne: one setting gets a value that leads elsewhere, or any text. Folders get no other, lest the disk be roamed.
void setOne(FuzzedDataProvider& input, zepasign::testing::Properties& properties) {
  static const std::pair<const char*, std::string> kSettings[] = {
      {"CRL.path", ""},
      {"P7B.path", ""},
      {"LOG.level", "DEBUG"},
      {"LOG.level", "ERROR"},
      {"P7B0.SKI", "00"},
      {"P7B0.crlFile0", "chain.p7b"},
      {"P7B0.crlFile1", "list.crl"},
      {"P7B0.name", "list.crl"},
      {"P7B1.name", "chain.p7b"},
      {"PFX.file", "chained.pfx"},
      {"PFX.file", "list.crl"},
      {"PFX.pswd", ""},
      {"PFX.pswdB64", storedPassword()},
      {"PFX.signerFilter", "//S_CN=Test Signer,I_O=Zepa Test//"},
      {"PKCS7.addCert", "0"},
      {"PKCS7.addPlainText", "FALSE"},
      {"PKCS7.addTimestamp", "TRUE"},
      {"PKCS7.digest", "SHA1"},
      {"PSWD.authKey", kAuthKey},
      {"PSWD.license", "AA"},
  };
  const auto& [key, value] = kSettings[input.ConsumeIntegralInRange<std::size_t>(0, std::size(kSettings) - 1)];
  const bool folder = std::string(key).ends_with(".path");
  properties[key] = folder || input.ConsumeBool() ? value : input.ConsumeRandomLengthString(40);
}

void initialise(FuzzedDataProvider& input) {
  zepasign::testing::Properties properties = stage().properties();
  while (input.ConsumeBool()) setOne(input, properties);
  const std::string file = stage().folder.write(
      "fuzz.properties", zepasign::testing::propertyText(properties) + input.ConsumeRandomLengthString(60));
  const std::string password = input.ConsumeBool() ? encedPassword : input.ConsumeRandomLengthString(60);
  require(ZEPASignInitial(file.c_str(), password.c_str()) == (GetErrorCode() == 0));
}

void makePassword(FuzzedDataProvider& input) {
  const std::string license = input.ConsumeBool() ? kLicense : input.ConsumeRandomLengthString(70);
  const std::string authKey = input.ConsumeBool() ? kAuthKey : input.ConsumeRandomLengthString(20);
  const std::string file =
      stage().folder.write("passwd.properties", "PSWD.license=" + license + "\nPSWD.authKey=" + authKey + "\n");
  const std::string password =
      input.ConsumeBool() ? zepasign::testing::PfxPlan{}.password : input.ConsumeRandomLengthString(600);
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
  sk_X509_push(signers.get(), stage().signer.certificate.get());
  const Pkcs7Ptr pkcs7(testing::decode<d2i_PKCS7>(testing::base64Decode(GetSignedPkcs7())));
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
    code = SignPkcs7File(stage().folder.write("content", content).c_str());
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

// Log: the log of the process in a folder of its own, chosen before any input can choose another.
class Log final {
 public:
  Log() {
    const std::string file = stage().folder.write("log.properties", "LOG.path=" + folder_.path() + "\nLOG.file=log\n");
    require(!ZEPASignInitial(file.c_str(), nullptr));
  }
  void keepShort() const {
    for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
      if (file.file_size() > kMostBytes) std::filesystem::remove(file);
    }
  }

 private:
  static constexpr std::uintmax_t kMostBytes = 1 << 20;
  zepasign::testing::TempFolder folder_;
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
