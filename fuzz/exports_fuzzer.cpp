// The seventeen exports in any order, with any arguments, and with a property file that the input garbles.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <iterator>

#include "api/ZEPASignDLL.h"
#include "fuzz/fuzz_support.h"

namespace {

using zepasign::fuzz::require;
using zepasign::fuzz::stage;

void initialise(FuzzedDataProvider& input) {
  zepasign::testing::Properties properties = stage().properties();
  while (input.ConsumeBool()) {
    auto changed = properties.begin();
    std::advance(changed, input.ConsumeIntegralInRange<std::size_t>(0, properties.size() - 1));
    if (changed->first != "P7B.path" && changed->first != "CRL.path")
      changed->second = input.ConsumeRandomLengthString(40);
  }
  properties["LOG.level"] = "OFF";
  const std::string file = stage().folder.write(
      "fuzz.properties", zepasign::testing::propertyText(properties) + input.ConsumeRandomLengthString(60));
  const std::string password = input.ConsumeRandomLengthString(60);
  require(ZEPASignInitial(file.c_str(), password.c_str()) == (GetErrorCode() == 0));
}

void makePassword(FuzzedDataProvider& input) {
  const std::string file =
      stage().folder.write("passwd.properties", "PSWD.license=" + input.ConsumeRandomLengthString(70) +
                                                    "\nPSWD.authKey=" + input.ConsumeRandomLengthString(20) + "\n");
  const std::string password = input.ConsumeRandomLengthString(600);
  std::string area(input.ConsumeIntegralInRange<std::size_t>(0, 1000), 'x');
  int capacity = static_cast<int>(area.size());
  static_cast<void>(MakeZEPASignPasswd(area.data(), &capacity, file.c_str(), password.c_str()));
}

void sign(FuzzedDataProvider& input, int operation) {
  std::string content = input.ConsumeRandomLengthString(300);
  int code = 0;
  if (operation == 0) {
    code = SignPkcs7(content.c_str(), input.ConsumeRandomLengthString(12).c_str());
  } else if (operation == 1) {
    code = SignPkcs7Bin(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  } else {
    code = SignPkcs7File(stage().folder.write("content", content).c_str());
  }
  require(code == GetErrorCode());
  if (code == 0) require(GetSignedPkcs7() != nullptr && std::strlen(GetSignedPkcs7()) % 4 == 0);
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
