// What the command line asks of the system besides files and encodings: standard streams, the terminal, signals and
// child processes. One whole file per system implements it (system_posix.cpp, system_windows.cpp).
//
// Thread rule: the main thread, except where a function says otherwise.
#ifndef ZEPASIGN_TOOLS_TERMINAL_SYSTEM_H_
#define ZEPASIGN_TOOLS_TERMINAL_SYSTEM_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zepasign::tools {

// setUpStreams: to be called first. On POSIX systems a standard stream that the caller has closed becomes one that
// fails, so that no file that is opened later gets its number, and SIGPIPE is ignored, so that a worker process that
// ends does not end this one. On Windows the standard input and output become binary.
void setUpStreams();

// takeStandardOutput: the standard output as a stream of the tool's own. What the library or anybody else writes to the
// process's standard output from now on goes nowhere. Null when there is no standard output.
[[nodiscard]] std::FILE* takeStandardOutput();

// endByClosedPipe: ends the process as a program ends that does not ignore SIGPIPE: silently, by that signal (a shell
// shows 141); on Windows with the exit code 141. Any thread.
[[noreturn]] void endByClosedPipe();

// isTerminal: false for a file, a pipe and any other device. REQUIRES: the stream is not null.
[[nodiscard]] bool isTerminal(std::FILE* stream);

// HiddenInput: while it lives, the terminal that is the standard input does not show what is typed, and what was typed
// before is gone. A signal that ends the process shows it again first. One at a time.
class HiddenInput final {
 public:
  HiddenInput();
  ~HiddenInput();
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;
};

// Interruption: while it lives, the first signal that asks this process to end (SIGINT, SIGTERM, SIGHUP; on Windows
// Ctrl-C) is only remembered, and ends the reading of a pipe or a terminal by the main thread; a second one ends the
// process. A signal that the caller of this program ignores stays ignored. One at a time.
class Interruption final {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // signal: its number, 0 while there was none. Any thread.
  [[nodiscard]] static int signal() noexcept;
};

// SignalsBlocked: threads that are started while it lives do not receive those signals.
class SignalsBlocked final {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
};

// ChildProcess: this program once more with these arguments, a pipe to its standard input and one from its standard
// output; its standard error is that of this process. The destructor closes the streams and waits for it to end. Any
// thread.
class ChildProcess final {
 public:
  // A failure is not thrown: the streams are then null. On POSIX systems the child receives all signals, also those
  // that the calling thread blocks. `arguments` do not contain the name of the program.
  explicit ChildProcess(const std::vector<std::string>& arguments);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // interrupt: asks it to end as this process was asked; see Interruption. It may have received the same signal, and a
  // second one of the same number would end it at once, so it gets another one.
  void interrupt() const noexcept;

  // input, output: its streams, owned by this object; null when it could not be started.
  [[nodiscard]] std::FILE* input() const noexcept { return input_; }
  [[nodiscard]] std::FILE* output() const noexcept { return output_; }
  // id: its process number, 0 when it could not be started.
  [[nodiscard]] std::uint64_t id() const noexcept { return id_; }

 private:
  // The destructor closes the input first: its end is what makes a worker finish.
  std::FILE* input_ = nullptr;
  std::FILE* output_ = nullptr;
  std::uint64_t id_ = 0;
  std::intptr_t handle_ = 0;  // what is waited for: on Windows a handle, elsewhere the process number
};

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_SYSTEM_H_
