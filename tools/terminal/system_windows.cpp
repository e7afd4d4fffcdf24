#include "tools/terminal/system.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <mutex>

namespace zepasign::tools {
namespace {

DWORD shownMode = 0;

HANDLE handleOf(std::FILE* stream) { return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))); }

std::atomic<int> interruptedBy = 0;
BOOL WINAPI noteInterruption(DWORD /*event*/) { return interruptedBy.exchange(SIGINT) == 0 ? TRUE : FALSE; }

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

// quotedForWindows: as the C runtime of the child takes arguments apart: a backslash is doubled before a quotation mark
// only.
std::string quotedForWindows(const std::string& argument) {
  std::string result = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') result.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    result += c;
  }
  return result.append(backslashes, '\\') + '"';
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

void endByClosedPipe() {
  constexpr int kExitCode = 141;  // what a shell of a POSIX system shows of a process that SIGPIPE ended
  std::_Exit(kExitCode);
}

bool isTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

HiddenInput::HiddenInput() {
  const HANDLE console = handleOf(stdin);
  if (GetConsoleMode(console, &shownMode) == 0) return;
  SetConsoleMode(console, shownMode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  FlushConsoleInputBuffer(console);
}

HiddenInput::~HiddenInput() { SetConsoleMode(handleOf(stdin), shownMode); }

Interruption::Interruption() {
  interruptedBy = 0;
  SetConsoleCtrlHandler(noteInterruption, TRUE);
}
Interruption::~Interruption() { SetConsoleCtrlHandler(noteInterruption, FALSE); }
int Interruption::signal() noexcept { return interruptedBy; }

// The system delivers them in a thread of its own.
SignalsBlocked::SignalsBlocked() = default;
SignalsBlocked::~SignalsBlocked() = default;

ChildProcess::ChildProcess(const std::vector<std::string>& arguments) {
  static std::mutex oneAtATime;  // a child inherits every pipe end that is inheritable just then
  const std::lock_guard lock(oneAtATime);
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string line = quotedForWindows(program);
  for (const std::string& argument : arguments) line += ' ' + quotedForWindows(argument);
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
    id_ = child.dwProcessId;
    handle_ = reinterpret_cast<std::intptr_t>(child.hProcess);
    input_ = asStream(in.own, "wb");
    output_ = asStream(out.own, "rb");
  }
  CloseHandle(in.child);
  CloseHandle(out.child);
}

// The system tells all processes of a console.
void ChildProcess::interrupt() const noexcept {}

ChildProcess::~ChildProcess() {
  if (input_ != nullptr) std::fclose(input_);
  if (output_ != nullptr) std::fclose(output_);
  if (id_ == 0) return;
  const auto process = reinterpret_cast<HANDLE>(handle_);
  WaitForSingleObject(process, INFINITE);
  CloseHandle(process);
}

}  // namespace zepasign::tools
