// A new property file with a comment over every setting.
//
// "zepasign init" writes such a file. Its parts are, in this order: log and signature, signer, chain and CRL. The
// library can read it as it is; a setting without a value has to be filled in first.
#ifndef ZEPASIGN_TOOLS_FILES_PROPERTYTEMPLATE_H_
#define ZEPASIGN_TOOLS_FILES_PROPERTYTEMPLATE_H_

#include <string>

namespace zepasign::tools {

// Settings: the values of the new file. An empty one is written as a comment for the user to fill in. Paths are bytes
// as the user gave them.
struct Settings {
  // Directories are directories without a separator at the end; files are names in them.
  std::string logDirectory;
  std::string pfxDirectory;
  std::string pfxFile;
  // license, storedPassword: the encrypted password opens only with this license, so the two belong together.
  std::string license;         // PSWD.license, a secret
  std::string storedPassword;  // PFX.pswdB64, a secret
  // The filter is described at cPkcs12::checkSignerFilter, the chain settings at cCertChainList.
  std::string signerFilter;
  std::string chainDirectory;
  std::string chainFile;
  std::string chainKeyId;  // P7B0.SKI: the subject key identifier of the CA that issued the signer's certificate
  std::string crlFile;
};

// propertyText: comments are in the user's language and the terminal's encoding. Values are copied without a check: a
// value with a line end would give a second line. The result holds the secrets; the caller wipes it.
[[nodiscard]] std::string propertyText(const Settings& settings);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_FILES_PROPERTYTEMPLATE_H_
