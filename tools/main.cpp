// zepasign: the command line over the library.
#include <exception>

#include "base/clog.h"
#include "pki/openssl.h"
#include "tools/commands/command_line.h"
#include "tools/terminal/encoding.h"
#include "tools/terminal/io.h"
#include "tools/terminal/system.h"

namespace zepasign::tools {
namespace {

int runTool(int argc, char** argv) {
  setUpStreams();
  openOutput();
  logger.setLevel("OFF");
  useChinese(prefersChinese());
  const CryptoScope crypto;  // PFX files of older software open as they do in the library
  CommandLine line;
  for (const auto add : {addSign, addStamp, addVerify, addShow, addPasswd, addCheck, addInit}) add(line);
  int result = line.parse(argc, argv);
  if (result == kOk) result = line.run();
  if (closeOutput()) return result;
  printError(tr("the standard output cannot be written"_m));
  return result == kOk ? kFailed : result;
}

}  // namespace
}  // namespace zepasign::tools

int main(int argc, char** argv) {
  try {
    return zepasign::tools::runTool(argc, argv);
  } catch (const std::exception& failure) {
    zepasign::tools::printError(failure.what());
    return zepasign::tools::kFailed;
  }
}
