// A new property file with a comment over every setting.
#ifndef ZEPASIGN_TOOLS_FILES_PROPERTYTEMPLATE_H_
#define ZEPASIGN_TOOLS_FILES_PROPERTYTEMPLATE_H_

#include <string>

namespace zepasign::tools {

// Settings: the values of the new file. An empty one is written as a comment for the user to fill in. Paths are bytes
// as the user gave them.
struct Settings {
  std::string logFolder;
  std::string pfxFolder;
  std::string pfxFile;
  std::string license;         // PSWD.license, a secret
  std::string storedPassword;  // PFX.pswdB64, a secret
  std::string signerFilter;
  std::string chainFolder;
  std::string chainFile;
  std::string chainKeyId;  // P7B0.SKI: the subject key identifier of the CA that issued the signer's certificate
  std::string crlFile;
};

// propertyText: comments are in the user's language and the terminal's encoding.
[[nodiscard]] std::string propertyText(const Settings& settings);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_PROPERTYTEMPLATE_H_
