#include "tools/terminal/access.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>

namespace zepasign::tools {
namespace {

using Status = struct stat;

bool find(const std::string& path, Status& status) { return stat(path.c_str(), &status) == 0; }

// nameOf: of an account; its number when it has no name here.
std::string nameOf(uid_t account) {
  std::array<char, 16384> area;
  passwd entry{};
  passwd* found = nullptr;
  const bool isKnown = getpwuid_r(account, &entry, area.data(), area.size(), &found) == 0 && found != nullptr;
  return isKnown ? found->pw_name : "#" + std::to_string(account);
}

FileAccess accessTo(const std::string& path, mode_t type, int rights) {
  Status status{};
  if (!find(path, status)) return errno == EACCES ? FileAccess::kForbidden : FileAccess::kMissing;
  if ((status.st_mode & S_IFMT) != type) return FileAccess::kIrregular;
  return faccessat(AT_FDCWD, path.c_str(), rights, AT_EACCESS) == 0 ? FileAccess::kReadable : FileAccess::kForbidden;
}

}  // namespace

FileAccess fileAccess(const std::string& path) { return accessTo(path, S_IFREG, R_OK); }

FileAccess directoryAccess(const std::string& path) { return accessTo(path, S_IFDIR, R_OK | X_OK); }

bool isOpenToOthers(const std::string& path) {
  Status status{};
  return find(path, status) && (status.st_mode & (S_IWGRP | S_IROTH | S_IWOTH)) != 0;
}

std::string ownerOf(const std::string& path) {
  Status status{};
  return find(path, status) ? nameOf(status.st_uid) : "";
}

std::string accountName() { return nameOf(geteuid()); }

// A directory that another account owns may change under our hands: only what this account has made is given away.
void giveToOwnerOf(const std::string& model, const std::string& path) {
  Status wanted{};
  Status own{};
  const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return;
  const bool isOurs = fstat(file, &own) == 0 && own.st_uid == geteuid() && (S_ISDIR(own.st_mode) || own.st_nlink == 1);
  if (isOurs && find(model, wanted)) static_cast<void>(!fchown(file, wanted.st_uid, wanted.st_gid));
  close(file);
}

bool isForeignPath(const std::string& path) {
  const bool hasDrive = path.size() > 1 && path[1] == ':' && std::isalpha(static_cast<unsigned char>(path[0])) != 0;
  return hasDrive || path.find('\\') != std::string::npos;
}

}  // namespace zepasign::tools
