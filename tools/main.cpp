// zepasign: the command line over the library. This file holds the option table and the start.
#include <CLI/CLI.hpp>
#include <exception>
#include <functional>

#include "api/ZEPASignDLL.h"
#include "base/clog.h"
#include "pki/openssl.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/messages.h"
#include "tools/output.h"
#include "tools/signing.h"

namespace zepasign::tools {
namespace {

// kLabels: the parser's own words.
constexpr Message kLabels[] = {"Usage"_m, "OPTIONS"_m, "SUBCOMMAND"_m, "Positionals"_m, "REQUIRED"_m, "Excludes"_m};

// CommandLine: the parser and what it fills; `run` becomes the chosen sub-command.
struct CommandLine {
  CLI::App app;
  SignOptions sign;
  VerifyOptions verify;
  ShowOptions show;
  PasswdOptions passwd;
  CommonOptions check;
  InitOptions init;
  std::function<int()> run;

  CommandLine() : app(toTerminal(say("PKCS#7 signatures with a key from a PFX file"_m)), "zepasign") {
    app.require_subcommand(1);
    app.option_defaults()->group(help("Options"_m));
    for (const Message& label : kLabels) {
      app.get_formatter()->label(std::string(label.english), help(label));
    }
    app.get_formatter()->label("TEXT", help("PATH"_m));
    addHelp(&app);
    app.set_version_flag("--version", std::string("zepasign ") + GetPkiVersion(), help("print the version and exit"_m));
    addSign();
    addVerify();
    addShow();
    addPasswd();
    addCheck();
    addInit();
    addWorker();
  }

  CLI::App* add(const char* name, const Message& description, std::function<int()> action) {
    CLI::App* command = app.add_subcommand(name, toTerminal(say(description)));
    command->final_callback([this, action = std::move(action)] { run = action; });
    command->group(help("Subcommands"_m));
    addHelp(command);
    return command;
  }

  static void addHelp(CLI::App* command) { command->set_help_flag("-h,--help", help("print this help and exit"_m)); }
  static std::string help(const Message& text) { return toTerminal(say(text)); }
  static void addProperties(CLI::App* command, std::string& file) {
    command->add_option("-c,--config", file, help("property file"_m))->required();
  }
  static void addCommon(CLI::App* command, CommonOptions& options) {
    addProperties(command, options.propertyFile);
    command->add_option("--enced-file", options.encedFile,
                        help("file with the enciphered PFX password (PSWD.authKey)"_m));
    addJson(command, options.json);
  }
  static void addJson(CLI::App* command, bool& json) { command->add_flag("--json", json, help("print JSON"_m)); }

  void addSign() {
    CLI::App* command = add("sign", "sign files"_m, [this] { return runSign(sign); });
    addCommon(command, sign);
    command->add_option("FILE", sign.files, help("files to sign; - is the standard input"_m))->required();
    command->add_option("--text", sign.encoding, help("sign as text: Big5, converted to this encoding first"_m))
        ->check(CLI::IsMember({"BIG5", "UTF-16LE"}, CLI::ignore_case));
    auto* output =
        command->add_option("-o,--output", sign.output, help("the signature's file; - is the standard output"_m));
    command->add_option("--out-dir", sign.outputFolder, help("folder for the signatures"_m))->excludes(output);
    auto* der = command->add_flag("--der", sign.der, help("write DER instead of Base64 text"_m));
    command->add_flag("--pem", sign.pem, help("write PEM instead of Base64 text"_m))->excludes(der);
    command->add_option("--jobs", sign.jobs, help("worker processes"_m))->check(CLI::Range(1, 256));
    command->add_flag("--resume", sign.resume, help("do only what is missing"_m));
  }

  void addVerify() {
    CLI::App* command = add("verify", "verify signatures"_m, [this] { return runVerify(verify); });
    command->add_option("SIGNATURE", verify.signatures, help("signatures: DER, PEM or Base64 text"_m))->required();
    command->add_option("--content", verify.content, help("the signed content, for a detached signature"_m));
    command->add_option("--ca", verify.authorities, help("file or folder with certificates to trust"_m));
    addJson(command, verify.json);
  }

  void addShow() {
    CLI::App* command = add("show", "show what a file holds"_m, [this] { return runShow(show); });
    command->add_option("FILE", show.files, help("signature, PFX, P7B, CRL, certificate, property file or log"_m))
        ->required();
    addJson(command, show.json);
  }

  void addPasswd() {
    CLI::App* command = add("passwd", "encipher a PFX password"_m, [this] { return runPasswd(passwd); });
    addProperties(command, passwd.propertyFile);
    command->add_flag("--stored", passwd.stored, help("the form for PFX.pswdB64 in the property file"_m));
  }

  void addCheck() {
    addCommon(add("check", "find out what is wrong with a property file"_m, [this] { return runCheck(check); }), check);
  }

  void addInit() {
    CLI::App* command = add("init", "write a property file to begin with"_m, [this] { return runInit(init); });
    command->add_option("DIR", init.folder, help("folder for it"_m))->required();
    command->add_flag("--demo", init.demo, help("with a throwaway CA, signer, PFX, chain and CRL"_m));
  }

  void addWorker() {
    CLI::App* command = app.add_subcommand(kWorkerCommand);
    command->group("");  // not in the help: sign starts it
    command->final_callback([this] { run = runWorker; });
  }
};

int parse(CommandLine& line, int argc, char** argv) {
  try {
    line.app.parse(argc, argv);
    return kGood;
  } catch (const CLI::ParseError& failure) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = line.app.exit(failure, out, err);
    printBytes(out.str());
    if (code == 0) return kGood;
    complain(say("wrong command line: {0}"_m, {failure.what()}));
    complain(say("zepasign --help tells more"_m));
    return kUsage;
  }
}

int runTool(int argc, char** argv) {
  setUpConsole();
  openOutput();
  logger.setLevel("OFF");
  useChinese(prefersChinese());
  const CryptoScope crypto;  // PFX files of older software open as they do in the library
  CommandLine line;
  int result = parse(line, argc, argv);
  if (line.run) result = line.run();
  if (closeOutput()) return result;
  complain(say("the standard output cannot be written"_m));
  return result == kGood ? kFailed : result;
}

}  // namespace
}  // namespace zepasign::tools

int main(int argc, char** argv) {
  try {
    return zepasign::tools::runTool(argc, argv);
  } catch (const std::exception& failure) {
    zepasign::tools::complain(failure.what());
    return zepasign::tools::kFailed;
  }
}
