// ConfigCheck: walks through everything that a property file names, and says in plain words what is wrong, where, and
// what to do about it. It asks in the order in which the library reads.
#ifndef ZEPASIGN_TOOLS_COMMANDS_CHECK_H_
#define ZEPASIGN_TOOLS_COMMANDS_CHECK_H_

#include <initializer_list>
#include <set>
#include <string>

#include "base/cproperty.h"
#include "tools/files/cryptofile.h"
#include "tools/files/propertyfile.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

// readNamedFile: of a file that a property names; false when the library could not read it either.
[[nodiscard]] bool readNamedFile(const std::string& path, CryptoFile& file);

class ConfigCheck final {
 public:
  // ConfigCheck: `properties` and `settings` are one file, line by line and as the library reads it; `enced` is what
  // ZEPASignInitial gets beside a file with PSWD.authKey. All three must outlive this object.
  ConfigCheck(const PropertyText& properties, const cProperty& settings, const std::string& enced)
      : properties_(properties), settings_(settings), enced_(enced) {}

  // examine: the whole walk.
  void examine();

  // Findings: "good" says what is in order, a "warning" what may surprise, an "error" what must be mended.
  void good(const std::string& key, const Message& what, std::initializer_list<std::string> arguments = {}) {
    add("good", key, what, arguments);
  }
  void warn(const std::string& key, const Message& what, std::initializer_list<std::string> arguments = {}) {
    add("warning", key, what, arguments);
  }
  void error(const std::string& key, const Message& what, std::initializer_list<std::string> arguments = {}) {
    add("error", key, what, arguments);
    hasErrors_ = true;
  }

  [[nodiscard]] bool hasErrors() const { return hasErrors_; }
  // findings: a list of level, line (0 when the key is missing), key and message.
  [[nodiscard]] const Json& findings() const { return findings_; }

 private:
  void add(const char* level, const std::string& key, const Message& what,
           std::initializer_list<std::string> arguments);
  void addAtLine(const char* level, int line, const std::string& key, const std::string& message);

  void examineLines();
  void examineKey(const PropertyText::Pair& pair);
  void examineFolders();
  void examineLog();
  void examineOptions();
  void examineInt(const std::string& key);
  void examineFlag(const std::string& key);

  [[nodiscard]] bool findPassword(std::string& password);
  [[nodiscard]] bool decryptPassword(const std::string& key, const std::string& license, std::string& password);
  void examinePfx();
  void examineSigner(X509* certificate);
  void examineFilter(X509* certificate, const std::string& password);
  void examineConditions(const std::string& alternative);

  void examineChains();
  void examineChain(const std::string& title, const std::string& path);
  void examineAuthorities(const std::string& title, const STACK_OF(X509) * certificates);
  [[nodiscard]] bool examineAuthority(const std::string& key, X509* certificate, X509_STORE* store);
  void examineSki(const std::string& title, const std::set<std::string>& keyIds);
  void examineCrls(const std::string& title);
  void examineCrl(const std::string& key, const std::string& path);
  void examineReach();

  const PropertyText& properties_;
  const cProperty& settings_;
  const std::string& enced_;
  Json findings_ = Json::array();
  bool hasErrors_ = false;
  bool pfxOpened_ = false;
  std::string signerIssuerKeyId_;
  bool pfxHasChain_ = false;
  std::set<std::string> soundChains_;
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_COMMANDS_CHECK_H_
