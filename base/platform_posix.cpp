#include <dirent.h>
#include <fcntl.h>
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <new>

#include "base/platform.h"

namespace zepasign::platform {

const char kFolderSeparator = '/';

LocalTime now() noexcept {
  std::timespec clock{};
  std::tm local{};
  std::timespec_get(&clock, TIME_UTC);
  if (localtime_r(&clock.tv_sec, &local) == nullptr) return {};
  return {local.tm_year + 1900,
          local.tm_mon + 1,
          local.tm_mday,
          local.tm_hour,
          local.tm_min,
          local.tm_sec,
          static_cast<int>(clock.tv_nsec / 1'000'000)};
}

int processId() noexcept { return getpid(); }

std::string currentFolder() {
  char folder[1024];
  return getcwd(folder, sizeof folder) != nullptr ? folder : "";
}

bool createFolder(const char* path) noexcept { return mkdir(path, 0777) == 0 || errno == EEXIST; }

namespace {

// openAtOnce: open that never waits for a pipe's other end or for a terminal. Only on an ordinary file can it meet a
// lease of another process, which the system ends within lease-break-time, 45 seconds unless changed.
int openAtOnce(const char* path, int flags) noexcept {
  constexpr mode_t kRights = 0666;
  constexpr std::timespec kPause{0, 10'000'000};
  constexpr int kMostPauses = 6000;
  int descriptor = -1;
  for (int pauses = 0; pauses < kMostPauses; ++pauses) {
    descriptor = open(path, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kRights);
    if (descriptor >= 0 || errno != EWOULDBLOCK) break;
    nanosleep(&kPause, nullptr);
  }
  return descriptor;
}

}  // namespace

bool listFolder(const std::string& folder, std::vector<std::string>& names) {
  struct CloseFolder {
    void operator()(DIR* search) const noexcept { closedir(search); }
  };
  const std::unique_ptr<DIR, CloseFolder> search(opendir(folder.c_str()));
  if (!search && errno == ENOMEM) throw std::bad_alloc();
  if (!search) return false;
  while (const dirent* entry = readdir(search.get()))
    names.emplace_back(entry->d_name);  // NOLINT(concurrency-mt-unsafe)
  return true;
}

FilePtr openForReading(const char* path) {
  const int descriptor = openAtOnce(path, O_RDONLY);
  if (descriptor < 0) return nullptr;
  struct stat status {};
  const bool isOrdinary = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  FilePtr file(isOrdinary ? fdopen(descriptor, "rb") : nullptr);
  if (!file) close(descriptor);
  if (!file && isOrdinary) throw std::bad_alloc();
  if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

std::int64_t fileSize(std::FILE* file) noexcept {
  if (fseeko(file, 0, SEEK_END) != 0) return -1;
  const off_t size = ftello(file);
  std::rewind(file);
  return size;
}

// O_RDWR: a pipe in the place of the log file must not block the host.
AppendFile::AppendFile(const char* path) noexcept : handle_(openAtOnce(path, O_RDWR | O_APPEND | O_CREAT)) {}

AppendFile::~AppendFile() {
  if (isOpen()) close(static_cast<int>(handle_));
}

namespace {

// FileSizeSignalBlock: a write beyond the process's file size limit raises SIGXFSZ, which would end the host; inside
// this scope it is only an error of the write.
class FileSizeSignalBlock final {
 public:
  FileSizeSignalBlock() noexcept {
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signal_, &before_);
  }
  ~FileSizeSignalBlock() {
    if (raised_ && sigismember(&before_, SIGXFSZ) == 0) {
      const std::timespec atOnce{};
      sigtimedwait(&signal_, nullptr, &atOnce);
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  FileSizeSignalBlock(const FileSizeSignalBlock&) = delete;
  FileSizeSignalBlock& operator=(const FileSizeSignalBlock&) = delete;

  void noteRaised() noexcept { raised_ = true; }

 private:
  sigset_t signal_{};
  sigset_t before_{};
  bool raised_ = false;
};

}  // namespace

bool AppendFile::isOpen() const noexcept { return handle_ >= 0; }

void AppendFile::append(std::string_view text) noexcept {
  FileSizeSignalBlock signalBlock;
  while (!text.empty()) {
    const ssize_t written = write(static_cast<int>(handle_), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno == EFBIG) signalBlock.noteRaised();
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
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
