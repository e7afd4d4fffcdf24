#include "tools/terminal/system.h"

#include <fcntl.h>
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace zepasign::tools {
namespace {

constexpr const char* kUtf8 = "UTF-8";

// localeName: what the user set, in the order in which the system asks.
std::string localeName() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets variables
    if (value != nullptr && *value != '\0') return value;
  }
  return "C";
}

// findTerminalEncoding: of the locale, or what its name says when it is not installed. Plain ASCII counts as UTF-8,
// which is what terminals of systems without a locale speak.
std::string findTerminalEncoding() {
  if (const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr); locale != nullptr) {
    const std::string codeset = nl_langinfo_l(CODESET, locale);
    freelocale(locale);
    return codeset.starts_with("ANSI_X3.4") ? kUtf8 : codeset;
  }
  const std::string name = localeName();
  const std::size_t point = name.find('.');
  return point == std::string::npos ? kUtf8 : name.substr(point + 1, name.find('@') - point - 1);
}

const std::string& terminalEncoding() {
  static const std::string encoding = findTerminalEncoding();
  return encoding;
}

// convert: ASCII is the same in all encodings that occur here, and needs no converter.
std::string convert(const std::string& text, const std::string& from, const std::string& to) {
  if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) return text;
  const iconv_t converter = iconv_open(to.c_str(), from.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return text;  // NOLINT(performance-no-int-to-ptr): its failure value
  std::string source = text;
  std::string result(4 * text.size() + 16, '\0');
  char* in = source.data();
  char* out = result.data();
  std::size_t inLeft = source.size();
  std::size_t outLeft = result.size();
  bool insideCharacter = false;  // further bytes of a replaced UTF-8 character are dropped
  while (inLeft > 0 && iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) {
    const bool continues = from == kUtf8 && insideCharacter && (static_cast<unsigned char>(*in) & 0xC0U) == 0x80;
    if (!continues) *out++ = '?', --outLeft;
    ++in, --inLeft;
    insideCharacter = true;
  }
  iconv_close(converter);
  result.resize(result.size() - outLeft);
  return result;
}

// shown: how the terminal is to be left. showAgainAndEnd does so when the user gives up in the middle of a password.
termios shown{};
constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
extern "C" void showAgainAndEnd(int signal) {
  tcsetattr(STDIN_FILENO, TCSANOW, &shown);
  static_cast<void>(std::signal(signal, SIG_DFL));
  static_cast<void>(raise(signal));
}

}  // namespace

// A standard stream that is closed becomes one that fails, lest a file that is opened later takes its number.
void setUpStreams() {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
}

std::FILE* takeStandardOutput() {
  std::cout.flush();
  const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere >= 0) dup2(nowhere, STDOUT_FILENO);
  if (nowhere > STDERR_FILENO) close(nowhere);
  return own < 0 ? nullptr : fdopen(own, "w");
}

bool prefersChinese() { return localeName().starts_with("zh") && fromTerminal(toTerminal("憑證檔")) == "憑證檔"; }

std::string toTerminal(const std::string& utf8) { return convert(utf8, kUtf8, terminalEncoding()); }
std::string fromTerminal(const std::string& bytes) {
  return terminalEncoding() == kUtf8 ? toUtf8(bytes) : convert(bytes, terminalEncoding(), kUtf8);
}
std::string fromBig5(const std::string& bytes) { return convert(bytes, "BIG5", kUtf8); }

std::string toUtf8(const std::string& bytes) {
  const std::string same = convert(bytes, kUtf8, kUtf8);
  return same == bytes ? same : fromBig5(bytes);
}

bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

bool isFolder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string fileNameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string canonicalPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  const std::filesystem::path folder = std::filesystem::weakly_canonical(parent.empty() ? "." : parent, error);
  return (folder / fileNameOf(path)).string();
}

std::string readLineHidden() {
  if (tcgetattr(STDIN_FILENO, &shown) != 0) return {};
  termios hidden = shown;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  for (const int signal : kEndingSignals) static_cast<void>(std::signal(signal, showAgainAndEnd));
  const auto stopBefore = std::signal(SIGTSTP, SIG_IGN);  // the terminal would show the rest when the user comes back
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  std::string line;
  std::getline(std::cin, line);
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
  static_cast<void>(std::signal(SIGTSTP, stopBefore));
  for (const int signal : kEndingSignals) static_cast<void>(std::signal(signal, SIG_DFL));
  return line;
}

std::FILE* createFile(const std::string& path, bool isPrivate) {
  unlink(path.c_str());
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, isPrivate ? 0600 : 0666);
  return descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
}

bool replaceFile(const std::string& from, const std::string& to) { return std::rename(from.c_str(), to.c_str()) == 0; }

ChildProcess::ChildProcess(const std::string& argument) {
  int in[2] = {-1, -1};
  int out[2] = {-1, -1};
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  std::string program = "zepasign";
  std::string given = argument;
  char* const arguments[] = {program.data(), given.data(), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, "/proc/self/exe", &actions, nullptr, arguments, environ) == 0) {
    process_ = pid;
    input_ = fdopen(in[1], "wb");
    output_ = fdopen(out[0], "rb");
  } else {
    close(in[1]);
    close(out[0]);
  }
  posix_spawn_file_actions_destroy(&actions);
  close(in[0]);
  close(out[1]);
}

ChildProcess::~ChildProcess() {
  if (input_ != nullptr) std::fclose(input_);
  if (output_ != nullptr) std::fclose(output_);
  if (process_ != 0) waitpid(static_cast<pid_t>(process_), nullptr, 0);
}

}  // namespace zepasign::tools
