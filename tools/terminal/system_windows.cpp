#include "tools/terminal/system.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <iostream>
#include <mutex>

namespace zepasign::tools {
namespace {

constexpr UINT kBig5 = 950;

UINT consoleCodePage() { return isTerminal(stderr) ? GetConsoleOutputCP() : GetACP(); }

std::string convert(const std::string& text, UINT from, UINT to) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size() + 1, L'\0');
  const int length = MultiByteToWideChar(from, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  std::string result(4 * static_cast<std::size_t>(length) + 1, '\0');
  const int bytes =
      WideCharToMultiByte(to, 0, wide.data(), length, result.data(), static_cast<int>(result.size()), nullptr, nullptr);
  result.resize(static_cast<std::size_t>(bytes));
  return result;
}

HANDLE handleOf(std::FILE* stream) { return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))); }

// Pipe: one end for the child, which inherits it, and one for us.
struct Pipe {
  HANDLE child = nullptr;
  HANDLE own = nullptr;

  explicit Pipe(bool childReads) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (!CreatePipe(&reading, &writing, &inherited, 0)) return;
    child = childReads ? reading : writing;
    own = childReads ? writing : reading;
    SetHandleInformation(own, HANDLE_FLAG_INHERIT, 0);
  }
};

std::FILE* asStream(HANDLE handle, const char* mode) {
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
  return descriptor < 0 ? nullptr : _fdopen(descriptor, mode);
}

}  // namespace

void setUpStreams() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

std::FILE* takeStandardOutput() {
  std::cout.flush();
  const int own = _dup(_fileno(stdout));
  const int nowhere = _open("NUL", _O_WRONLY | _O_BINARY);
  if (nowhere >= 0) {
    _dup2(nowhere, _fileno(stdout));
    _close(nowhere);
  }
  return own < 0 ? nullptr : _fdopen(own, "wb");
}

bool prefersChinese() { return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_CHINESE; }

std::string toTerminal(const std::string& utf8) { return convert(utf8, CP_UTF8, consoleCodePage()); }
std::string fromTerminal(const std::string& bytes) { return convert(bytes, CP_ACP, CP_UTF8); }
std::string fromBig5(const std::string& bytes) { return convert(bytes, kBig5, CP_UTF8); }

std::string toUtf8(const std::string& bytes) {
  const std::string same = convert(bytes, CP_UTF8, CP_UTF8);
  return same == bytes ? same : fromBig5(bytes);
}

bool isTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

bool isFolder(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Character by character: a backslash may be the second byte of a Big5 character.
std::string fileNameOf(const std::string& path) {
  const char* name = path.c_str();
  for (const char* at = name; *at != '\0'; at = CharNextA(at)) {
    if (*at == '/' || *at == '\\' || *at == ':') name = at + 1;
  }
  return name;
}

std::string canonicalPath(const std::string& path) {
  std::string place(MAX_PATH, '\0');
  const DWORD length = GetFullPathNameA(path.c_str(), MAX_PATH, place.data(), nullptr);
  if (length == 0 || length > MAX_PATH) return path;
  place.resize(length);
  CharLowerBuffA(place.data(), length);
  return place;
}

std::string readLineHidden() {
  const HANDLE console = handleOf(stdin);
  DWORD before = 0;
  const bool known = GetConsoleMode(console, &before) != 0;
  if (known) SetConsoleMode(console, before & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  std::string line;
  std::getline(std::cin, line);
  if (known) SetConsoleMode(console, before);
  return line;
}

std::FILE* createFile(const std::string& path, bool /*isPrivate*/) { return std::fopen(path.c_str(), "wb"); }

bool replaceFile(const std::string& from, const std::string& to) {
  return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

ChildProcess::ChildProcess(const std::string& argument) {
  static std::mutex oneAtATime;  // a child inherits every pipe end that is inheritable just then
  const std::lock_guard lock(oneAtATime);
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = '"' + std::string(program) + "\" " + argument;
  const Pipe in(true);
  const Pipe out(false);
  STARTUPINFOA start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = in.child;
  start.hStdOutput = out.child;
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION child{};
  if (CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &child)) {
    CloseHandle(child.hThread);
    process_ = reinterpret_cast<std::intptr_t>(child.hProcess);
    input_ = asStream(in.own, "wb");
    output_ = asStream(out.own, "rb");
  }
  CloseHandle(in.child);
  CloseHandle(out.child);
}

ChildProcess::~ChildProcess() {
  if (input_ != nullptr) std::fclose(input_);
  if (output_ != nullptr) std::fclose(output_);
  if (process_ == 0) return;
  const auto process = reinterpret_cast<HANDLE>(process_);
  WaitForSingleObject(process, INFINITE);
  CloseHandle(process);
}

}  // namespace zepasign::tools
