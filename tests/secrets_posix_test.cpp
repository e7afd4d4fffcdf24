// No block of memory goes back to the heap with a secret in it: this program looks into each block that is freed while
// the library runs. To search the memory afterwards would find only what the heap has not yet used again.
#include <openssl/evp.h>

#include <algorithm>
#include <string_view>

#include "tests/support/command.h"
#include "tests/support/faults_posix.h"
#include "tests/support/loaded_library_posix.h"

namespace zepasign::testing {
namespace {

struct Secret {
  const char* name;
  std::string bytes;
};
std::vector<Secret> secrets;
const Secret* widePassword = nullptr;  // UTF-16BE, the form from which PKCS #12 derives keys
bool isLibraryRunning = false;
char report[2000];  // what was found, a line each
std::size_t reported = 0;

// isKeyDerivation: whether the block is the input of libcrypto's PKCS #12 key derivation (RFC 7292, appendix B.2): the
// salt, repeated up to the digest's block size of 64 bytes, then the password. libcrypto frees it as it is; it is the
// one copy that this library cannot wipe.
bool isKeyDerivation(std::string_view block) { return block.find(widePassword->bytes) == 64; }

// look: reports each secret of which eight bytes in a row are in the block. Wipes the block, so that what was found in
// it is not found again in the next block at this place.
void look(char* data, std::size_t size) {
  const std::string_view block(data, size);
  for (const Secret& secret : secrets) {
    std::size_t at = block.npos;
    for (std::size_t start = 0; start + 8 <= secret.bytes.size(); start += 4) {
      at = std::min(at, block.find(std::string_view(secret.bytes).substr(start, 8)));
    }
    if (!isLibraryRunning || at == block.npos || (&secret == widePassword && isKeyDerivation(block))) continue;
    const int length = std::snprintf(report + reported, sizeof report - reported, "%s at %zu of a block of %zu bytes\n",
                                     secret.name, at, size);
    reported = std::min(reported + static_cast<std::size_t>(length), sizeof report - 1);
  }
  std::fill_n(data, size, '\0');
}

// freed: the report on what the library frees during the call.
template <class Call>
std::string freed(Call call) {
  report[reported = 0] = '\0';
  isLibraryRunning = true;
  call();
  isLibraryRunning = false;
  return report;
}

std::string bytesOf(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return bytes;
}

}  // namespace

using Secrets = HostProcess;

TEST_F(Secrets, AreWipedBeforeTheirMemoryIsFreed) {
  watchFrees(look);
  const std::string password = "Zq7-Mountain+River=Lantern_Harbour.42-Bamboo",
                    authKey = "Kx3-Orchid.Thunder+58_Compass";
  const std::string license = "3F9A61C07BD254E8AF1B6D90C2735E84D1A60F5B98E3427C6BDA0917F4825CE3";
  prepare([&](Fixture& fixture) {
    directory_.write("signer.pfx", makePfx({.identity = fixture.signer, .password = password}));
    fixture.properties["PSWD.license"] = license;
    fixture.properties["PFX.pswd"] = password;
    Properties others = fixture.properties;
    others["PFX.pswd"] = password + "wrong";
    directory_.write("wrong", propertyText(others));
    others["PSWD.authKey"] = authKey;
    directory_.write("callers", propertyText(others));
    others["PSWD.authKey"] = others["PFX.pswd"] = "";
    others["PFX.pswdB64"] = runCommand("printf %s '" + password + "' | openssl enc -aes-256-cbc -a -A -K " + license +
                                       " -iv " + license.substr(0, 32))
                                .output;
    directory_.write("stored", propertyText(others));
  });
  std::string wide, iv(32, '\0');
  for (const char c : password) wide.append({'\0', c});
  EVP_Q_digest(nullptr, "SHA256", nullptr, authKey.data(), authKey.size(), reinterpret_cast<unsigned char*>(iv.data()),
               nullptr);
  secrets = {{"the password", password},    {"the password in UTF-16BE", wide}, {"PSWD.license", license},
             {"the key", bytesOf(license)}, {"PSWD.authKey", authKey},          {"the IV", iv}};
  widePassword = &secrets[1];
  const LoadedLibrary library;
  const auto make = library.find<decltype(MakeZEPASignPasswd)>("MakeZEPASignPasswd");
  const std::string callers = directory_.path("callers");
  char enced[100] = "";
  int size = sizeof enced;
  EXPECT_EQ(freed([&] { EXPECT_EQ(make(enced, &size, callers.c_str(), password.c_str()), 0); }), "");
  for (const auto& [form, code] : {std::pair{"app.properties", 0}, {"stored", 0}, {"callers", 0}, {"wrong", 5208}}) {
    SCOPED_TRACE(form);
    EXPECT_EQ(freed([&] { EXPECT_EQ(library.initialise(directory_.path(form), enced), code); }), "");
    EXPECT_EQ(freed([&] { EXPECT_EQ(library.sign(), 0); }), "");
  }
  EXPECT_NE(freed([&] { const std::string copy = password; }), "") << "the watch sees what is not wiped";
}

}  // namespace zepasign::testing
