// Replacing a file. The temporary file is held with a lock (flock), which ends with the process, so that a file without
// a lock is what a killed run left and may be removed. Between opening and locking, another run may have removed or
// renamed the file; therefore it only counts as ours when its name still leads to it once it is locked.
#include "tools/terminal/filesystem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <filesystem>

namespace zepasign::tools {
namespace {

constexpr mode_t kPermissionBits = 0777;
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kPublicMode = 0666;  // less what the umask takes away

// Descriptor: closes it at the end of the scope.
class Descriptor final {
 public:
  explicit Descriptor(int number = -1) noexcept : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  Descriptor& operator=(Descriptor&&) = delete;

  [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }
  [[nodiscard]] int get() const noexcept { return number_; }

 private:
  int number_;
};

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// takeLock: whether this process now holds the file that is open and still has that name. Where the file system has no
// locks, having made it must do.
bool takeLock(const Descriptor& file, const std::string& name) {
  struct stat opened {};
  struct stat named {};
  if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
  return fstat(file.get(), &opened) == 0 && lstat(name.c_str(), &named) == 0 && S_ISREG(opened.st_mode) &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

void removeStale(const std::string& name) {
  const Descriptor file(open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.isOpen() && takeLock(file, name)) unlink(name.c_str());
}

Descriptor createTemp(const std::string& name, mode_t mode) {
  const auto create = [&] { return open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); };
  int number = create();
  if (number < 0 && errno == EEXIST) {
    removeStale(name);
    number = create();
  }
  Descriptor file(number);
  return file.isOpen() && takeLock(file, name) ? std::move(file) : Descriptor();
}

// TempFile: the temporary file of a target; it is removed unless it has replaced the target.
class TempFile final {
 public:
  TempFile(const std::string& target, mode_t mode) : target_(target), file_(claim(mode)) {}
  ~TempFile() {
    if (file_.isOpen() && !replaced_) unlink(name_.c_str());
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  [[nodiscard]] bool isOpen() const noexcept { return file_.isOpen(); }

  // fill: some network file systems report a full disk only when a descriptor is closed, so a second one is closed.
  [[nodiscard]] bool fill(std::string_view bytes) const {
    if (!writeAll(file_.get(), bytes)) return false;
    const int second = dup(file_.get());
    return second >= 0 && close(second) == 0;
  }
  // takeOver: the owner first, since changing it clears permission bits.
  [[nodiscard]] bool takeOver(const struct stat& old, mode_t mode) const {
    static_cast<void>(fchown(file_.get(), old.st_uid, old.st_gid) == 0);  // only the superuser may give files away
    return fchmod(file_.get(), mode) == 0;
  }
  [[nodiscard]] bool replaceTarget() { return replaced_ = std::rename(name_.c_str(), target_.c_str()) == 0; }

 private:
  Descriptor claim(mode_t mode) {
    constexpr int kMaxRuns = 100;  // more than that many at once on one file are a mistake
    for (int run = 0; run < kMaxRuns; ++run) {
      name_ = target_ + std::string(kTempSuffix) + (run == 0 ? "" : std::to_string(run));
      if (Descriptor file = createTemp(name_, mode); file.isOpen()) return file;
    }
    return Descriptor();
  }

  const std::string& target_;
  std::string name_;
  Descriptor file_;
  bool replaced_ = false;
};

bool replaceRegular(const std::string& path, const struct stat* old, std::string_view bytes, bool isPrivate) {
  if (old != nullptr && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return false;
  const mode_t mode = isPrivate ? kPrivateMode : kPublicMode;
  const mode_t kept = old == nullptr ? mode : old->st_mode & (isPrivate ? kPrivateMode : kPermissionBits);
  TempFile temp(path, old == nullptr ? mode : kPrivateMode);
  return temp.isOpen() && temp.fill(bytes) && (old == nullptr || temp.takeOver(*old, kept)) && temp.replaceTarget();
}

bool writeInto(const std::string& path, std::string_view bytes) {
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  return file.isOpen() && writeAll(file.get(), bytes);
}

// ownDescriptor: of a link in this process's own directory of descriptors.
int ownDescriptor(const std::string& link) {
  const std::string directory = "/proc/" + std::to_string(getpid()) + "/fd/";
  const std::string path = canonicalPath(link);
  int number = -1;
  if (path.starts_with(directory)) std::from_chars(path.data() + directory.size(), path.data() + path.size(), number);
  return number;
}

// Target: where a path leads: to a descriptor, or to a path that is no link; to neither if links form a loop.
struct Target {
  std::string path = {};
  int descriptor = -1;
};

Target followLinks(std::string path) {
  constexpr int kMaxLinks = 40;  // as many as the kernel follows
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code error;
    const std::filesystem::path next = std::filesystem::read_symlink(path, error);
    if (error) return {path};
    if (const int descriptor = ownDescriptor(path); descriptor >= 0) return {path, descriptor};
    path = (std::filesystem::path(path).parent_path() / next).string();
  }
  return {};
}

FileStatus::Kind kindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileStatus::Kind::kRegular;
  return S_ISDIR(mode) ? FileStatus::Kind::kDirectory : FileStatus::Kind::kOther;
}

}  // namespace

FileStatus statusOf(const std::string& path) {
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return {};
  return {kindOf(status.st_mode), status.st_dev, status.st_ino,
          status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

bool isLink(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool isAbsolute(const std::string& path) { return path.starts_with('/'); }

std::string fileNameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string canonicalPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  const std::filesystem::path directory = std::filesystem::weakly_canonical(absolute.parent_path(), error);
  return (directory / fileNameOf(path)).string();
}

int descriptorOf(const std::string& path) { return followLinks(path).descriptor; }

platform::FilePtr openTemporary() {
  std::error_code error;
  std::string name = (std::filesystem::temp_directory_path(error) / "zepasign-XXXXXX").string();
  const int number = error ? -1 : mkostemp(name.data(), O_CLOEXEC);
  if (number < 0) return nullptr;
  unlink(name.c_str());
  platform::FilePtr file(fdopen(number, "w+b"));
  if (!file) close(number);
  return file;
}

bool writeFileAt(const std::string& path, std::string_view bytes, bool isPrivate) {
  const Target target = followLinks(path);
  if (target.descriptor >= 0) return writeAll(target.descriptor, bytes);
  struct stat status {};
  if (stat(target.path.c_str(), &status) != 0) return replaceRegular(target.path, nullptr, bytes, isPrivate);
  if (!S_ISREG(status.st_mode)) return writeInto(target.path, bytes);
  return replaceRegular(target.path, &status, bytes, isPrivate);
}

}  // namespace zepasign::tools
