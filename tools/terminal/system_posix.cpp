#include "tools/terminal/system.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>

namespace zepasign::tools {
namespace {

// shown: how the terminal is to be left; read by showAgainAndEnd when a signal ends the process.
termios shown{};
void (*stopAction)(int) = SIG_DFL;
constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
extern "C" void showAgainAndEnd(int signal) {
  tcsetattr(STDIN_FILENO, TCSANOW, &shown);
  static_cast<void>(std::signal(signal, SIG_DFL));
  static_cast<void>(raise(signal));
}

void onEndingSignals(void (*action)(int)) {
  for (const int signal : kEndingSignals) static_cast<void>(std::signal(signal, action));
}

constexpr int kInterruptions[] = {SIGHUP, SIGINT, SIGTERM};
std::atomic<int> interruptedBy = 0;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");
extern "C" void noteInterruption(int signal) { interruptedBy = signal; }

void blockInterruptions(int how) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kInterruptions) sigaddset(&signals, signal);
  pthread_sigmask(how, &signals, nullptr);
}

// FileActions: which descriptors a child gets; all others close by themselves.
class FileActions final {
 public:
  FileActions(int input, int output) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
  }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t* get() const noexcept { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// SpawnAttributes: the child receives all signals, although the thread that starts it may not.
class SpawnAttributes final {
 public:
  SpawnAttributes() {
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  [[nodiscard]] const posix_spawnattr_t* get() const noexcept { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

}  // namespace

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

void endByClosedPipe() {
  static_cast<void>(std::signal(SIGPIPE, SIG_DFL));
  static_cast<void>(raise(SIGPIPE));
  std::_Exit(128 + SIGPIPE);  // only when the signal is blocked: as a shell would show it
}

bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

HiddenInput::HiddenInput() {
  if (tcgetattr(STDIN_FILENO, &shown) != 0) return;
  termios hidden = shown;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  onEndingSignals(showAgainAndEnd);
  stopAction = std::signal(SIGTSTP, SIG_IGN);  // the terminal would show the rest when the user comes back
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
}

HiddenInput::~HiddenInput() {
  tcsetattr(STDIN_FILENO, TCSADRAIN, &shown);
  static_cast<void>(std::signal(SIGTSTP, stopAction));
  onEndingSignals(SIG_DFL);
}

// Without SA_RESTART, so that a read that waits ends; regular files are read and written to the end all the same.
Interruption::Interruption() {
  interruptedBy = 0;
  for (const int signal : kInterruptions) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = noteInterruption;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
}

Interruption::~Interruption() {
  for (const int signal : kInterruptions) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == noteInterruption) {
      static_cast<void>(std::signal(signal, SIG_DFL));
    }
  }
}

int Interruption::signal() noexcept { return interruptedBy; }

SignalsBlocked::SignalsBlocked() { blockInterruptions(SIG_BLOCK); }
SignalsBlocked::~SignalsBlocked() { blockInterruptions(SIG_UNBLOCK); }

ChildProcess::ChildProcess(const std::vector<std::string>& arguments) {
  int in[2] = {-1, -1};
  int out[2] = {-1, -1};
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return;
  const FileActions actions(in[0], out[1]);
  std::vector<std::string> texts = {"zepasign"};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  pid_t pid = 0;
  const SpawnAttributes attributes;
  if (posix_spawn(&pid, "/proc/self/exe", actions.get(), attributes.get(), pointers.data(), environ) == 0) {
    id_ = static_cast<std::uint64_t>(pid);
    handle_ = pid;
    input_ = fdopen(in[1], "wb");
    output_ = fdopen(out[0], "rb");
  } else {
    close(in[1]);
    close(out[0]);
  }
  close(in[0]);
  close(out[1]);
}

void ChildProcess::interrupt() const noexcept {
  if (id_ != 0) kill(static_cast<pid_t>(handle_), Interruption::signal() == SIGTERM ? SIGHUP : SIGTERM);
}

ChildProcess::~ChildProcess() {
  if (input_ != nullptr) std::fclose(input_);
  if (output_ != nullptr) std::fclose(output_);
  if (id_ != 0) waitpid(static_cast<pid_t>(handle_), nullptr, 0);
}

}  // namespace zepasign::tools
