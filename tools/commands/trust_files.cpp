#include "tools/commands/trust_files.h"

#include "tools/terminal/encoding.h"
#include "tools/terminal/io.h"
#include "tools/terminal/messages.h"

namespace zepasign::tools {

bool readAuthorities(const std::string& path, Trust& trust) {
  if (path.empty() || trust.addAuthorities(path)) return true;
  printError(tr("{0}: no certificate found"_m, {fromTerminal(path)}));
  return false;
}

bool readCrls(const std::string& path, Trust& trust) {
  if (path.empty() || trust.addCrls(path)) return true;
  printError(tr("{0}: no CRL found"_m, {fromTerminal(path)}));
  return false;
}

}  // namespace zepasign::tools
