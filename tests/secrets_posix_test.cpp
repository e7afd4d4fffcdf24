#include <algorithm>
#include <array>
#include <cinttypes>
#include <fstream>

#include "tests/support/command.h"
#include "tests/support/loaded_library_posix.h"

namespace zepasign::testing {
namespace {

constexpr char kMask = 0x5A;

// Hidden: a text that stands in no readable form in this program or its memory, so that the search does not find
// itself.
template <std::size_t Size>
struct Hidden {
  consteval explicit(false) Hidden(const char (&text)[Size]) {
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(text[i] ^ kMask);
  }
  [[nodiscard]] std::string masked() const { return {bytes.begin(), bytes.end()}; }
  [[nodiscard]] std::string readable() const {
    std::string text = masked();
    for (char& c : text) c ^= kMask;
    return text;
  }
  std::array<char, Size - 1> bytes{};
};
constexpr Hidden kPassword("Zq7-Mountain+River=Lantern_Harbour.42-Bamboo");
constexpr Hidden kLicense("3F9A61C07BD254E8AF1B6D90C2735E84D1A60F5B98E3427C6BDA0917F4825CE3");
constexpr Hidden kDigits("0123456789ABCDEF");
constexpr Hidden kAuthKey("Kx3-Orchid.Thunder+Meadow=58_Compass");

// placesOf: where eight bytes in a row of a masked text stand readable in this process's writable memory.
std::string placesOf(const std::string& masked) {
  std::string places, line;
  for (std::ifstream maps("/proc/self/maps"); std::getline(maps, line);) {
    std::uintptr_t begin = 0, end = 0;
    if (line.find(" rw-p ") == std::string::npos) continue;
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, &begin, &end) != 2) continue;
    for (const char* memory = reinterpret_cast<const char*>(begin); begin + 8 <= end; ++begin, ++memory) {
      for (std::size_t start = 0; start + 8 <= masked.size(); start += 4) {
        const auto equal = [](char there, char wanted) { return (there ^ kMask) == wanted; };
        if (std::equal(memory, memory + 8, masked.data() + start, equal)) places += std::to_string(start) + line + '\n';
      }
    }
  }
  return places;
}

}  // namespace

using Secrets = HostProcess;

TEST_F(Secrets, AreGoneAfterInitialisation) {
  prepare([&](Fixture& fixture) {
    const std::string password = kPassword.readable(), license = kLicense.readable();
    folder_.write("signer.pfx", makePfx({.identity = fixture.signer, .password = password}));
    fixture.properties["PSWD.license"] = license;
    fixture.properties["PFX.pswd"] = password;
    Properties others = fixture.properties;
    others["PSWD.authKey"] = kAuthKey.readable();
    others.erase("PFX.pswd");
    const std::string callers = folder_.write("callers", propertyText(others));
    const LoadedLibrary library;
    char text[200] = "";
    int size = sizeof text;
    ASSERT_EQ(library.find<decltype(MakeZEPASignPasswd)>("MakeZEPASignPasswd")(text, &size, callers.c_str(),
                                                                               password.c_str()),
              0);
    folder_.write("encrypted", text);
    others.erase("PSWD.authKey");
    others["PFX.pswdB64"] = runCommand("printf %s '" + password + "' | openssl enc -aes-256-cbc -a -A -K " + license +
                                       " -iv " + license.substr(0, 32))
                                .output;
    folder_.write("stored", propertyText(others));
  });
  std::string wide, key;
  for (const char c : kPassword.bytes) wide.append({kMask, c});
  for (std::size_t i = 0; i < kLicense.bytes.size(); i += 2) {
    const auto digit = [i](std::size_t k) { return kDigits.masked().find(kLicense.bytes[i + k]); };
    key += static_cast<char>((16 * digit(0) + digit(1)) ^ kMask);
  }
  const auto gone = [&] {
    for (const std::string& each : {kPassword.masked(), wide, kLicense.masked(), key, kAuthKey.masked()}) {
      EXPECT_EQ(placesOf(each), "") << each.size();
    }
  };
  const LoadedLibrary library;
  gone();
  for (const char* form : {"app.properties", "stored", "callers"}) {
    SCOPED_TRACE(form);
    EXPECT_EQ(library.initialise(folder_.path(form), readFile(folder_.path("encrypted")).c_str()), 0);
    gone();
    EXPECT_EQ(library.sign(), 0);
    gone();
  }
  std::string copy = kPassword.readable();
  EXPECT_NE(placesOf(kPassword.masked()), "") << "the search finds what is there";
}

}  // namespace zepasign::testing
