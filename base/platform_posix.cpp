#include <dirent.h>
#include <fcntl.h>
#include <iconv.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <new>

#include "base/platform.h"

namespace zepasign::platform {

const char kDirectorySeparator = '/';

LocalTime now() noexcept {
  std::timespec clock{};
  std::tm local{};
  std::timespec_get(&clock, TIME_UTC);
  if (localtime_r(&clock.tv_sec, &local) == nullptr) return {};
  return makeLocalTime(local, static_cast<int>(clock.tv_nsec / 1'000'000));
}

int processId() noexcept { return getpid(); }

std::string currentDirectory() {
  char directory[1024];
  return getcwd(directory, sizeof directory) != nullptr ? directory : "";
}

bool createDirectory(const char* path) noexcept { return mkdir(path, 0777) == 0 || errno == EEXIST; }

// madvise takes whole pages. The page in which the block begins is the block's alone, with the C library's header.
void preferLargePages(void* block, std::size_t size) noexcept {
  constexpr std::size_t kMappedForItself = 32U << 20U;  // DEFAULT_MMAP_THRESHOLD_MAX of glibc with 64 bits
  if (size < kMappedForItself) return;
  const std::size_t inPage = reinterpret_cast<std::uintptr_t>(block) % static_cast<std::size_t>(getpagesize());
  madvise(static_cast<char*>(block) - inPage, size + inPage, MADV_HUGEPAGE);
}

namespace {

// openRegularFile: the descriptor, or -1. Anything else than a regular file is not opened at all: opening a pipe or a
// terminal may wait for its other end. What was opened is looked at once more, since the name may mean another file by
// then.
int openRegularFile(const char* path, int flags) noexcept {
  constexpr mode_t kPermissions = 0666;
  struct stat status {};
  const bool exists = stat(path, &status) == 0;
  if (exists ? !S_ISREG(status.st_mode) : (flags & O_CREAT) == 0) return -1;
  const int descriptor = open(path, flags | O_CLOEXEC | O_NOCTTY, kPermissions);
  if (descriptor < 0) return -1;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return descriptor;
  close(descriptor);
  return -1;
}

}  // namespace

bool listDirectory(const std::string& directory, std::vector<std::string>& names) {
  struct CloseDirectory {
    void operator()(DIR* search) const noexcept { closedir(search); }
  };
  const std::unique_ptr<DIR, CloseDirectory> search(opendir(directory.c_str()));
  if (!search && errno == ENOMEM) throw std::bad_alloc();
  if (!search) return false;
  while (const dirent* entry = readdir(search.get()))
    names.emplace_back(entry->d_name);  // NOLINT(concurrency-mt-unsafe)
  return true;
}

FilePtr openForReading(const char* path) {
  const int descriptor = openRegularFile(path, O_RDONLY);
  if (descriptor < 0) return nullptr;
  FilePtr file(fdopen(descriptor, "rb"));
  if (!file) {
    close(descriptor);
    throw std::bad_alloc();
  }
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

std::int64_t fileSize(std::FILE* file) noexcept {
  if (fseeko(file, 0, SEEK_END) != 0) return -1;
  const off_t size = ftello(file);
  std::rewind(file);
  return size;
}

AppendFile::AppendFile(const char* path) noexcept : handle_(openRegularFile(path, O_WRONLY | O_APPEND | O_CREAT)) {}

AppendFile::~AppendFile() {
  if (isOpen()) close(static_cast<int>(handle_));
}

namespace {

// WriteSignalBlock: a write beyond the process's file size limit raises SIGXFSZ, one into a pipe without a reader
// SIGPIPE, and both would end the host. Inside this scope they are only errors of the write.
class WriteSignalBlock final {
 public:
  WriteSignalBlock() noexcept {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGXFSZ);
    sigaddset(&signals_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  }
  ~WriteSignalBlock() {
    if (raised_ != 0 && sigismember(&before_, raised_) == 0) takeRaised();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  WriteSignalBlock(const WriteSignalBlock&) = delete;
  WriteSignalBlock& operator=(const WriteSignalBlock&) = delete;

  // noteError: the error of a write, which tells whether a signal waits.
  void noteError(int error) noexcept {
    if (error == EFBIG) raised_ = SIGXFSZ;
    if (error == EPIPE) raised_ = SIGPIPE;
  }

 private:
  void takeRaised() const noexcept {
    const std::timespec noWait{};
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, raised_);
    sigtimedwait(&one, nullptr, &noWait);
  }

  sigset_t signals_{};
  sigset_t before_{};
  int raised_ = 0;
};

}  // namespace

bool AppendFile::isOpen() const noexcept { return handle_ >= 0; }

void AppendFile::append(std::string_view text) noexcept {
  WriteSignalBlock signalBlock;
  while (!text.empty()) {
    const ssize_t written = write(static_cast<int>(handle_), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) signalBlock.noteError(errno);
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void printToStandardOutput(std::string_view text) noexcept {
  WriteSignalBlock signalBlock;
  if (ftrylockfile(stdout) != 0) return;
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    signalBlock.noteError(errno);
  }
  funlockfile(stdout);
}

namespace {
iconv_t asIconv(Converter converter) { return static_cast<iconv_t>(converter); }
}  // namespace

Converter openConverter(const char* target, const char* source) noexcept {
  const iconv_t converter = iconv_open(target, source);
  const auto failed = reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr): iconv's failure value
  return converter == failed ? nullptr : converter;
}

std::size_t convert(Converter converter, char** in, std::size_t* inLeft, char** out, std::size_t* outLeft) noexcept {
  return iconv(asIconv(converter), in, inLeft, out, outLeft);
}

void closeConverter(Converter converter) noexcept { iconv_close(asIconv(converter)); }

}  // namespace zepasign::platform
