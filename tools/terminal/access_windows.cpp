#include "tools/terminal/access.h"

#include <io.h>
#include <sys/stat.h>

#include <cerrno>

namespace zepasign::tools {
namespace {

FileAccess accessTo(const std::string& path, int type) {
  constexpr int kReading = 4;
  struct _stat64 status {};
  if (_stat64(path.c_str(), &status) != 0) return errno == EACCES ? FileAccess::kForbidden : FileAccess::kMissing;
  if ((status.st_mode & _S_IFMT) != type) return FileAccess::kIrregular;
  return _access(path.c_str(), kReading) == 0 ? FileAccess::kReadable : FileAccess::kForbidden;
}

}  // namespace

FileAccess fileAccess(const std::string& path) { return accessTo(path, _S_IFREG); }

FileAccess directoryAccess(const std::string& path) { return accessTo(path, _S_IFDIR); }

bool isOpenToOthers(const std::string& /*path*/) { return false; }

std::string ownerOf(const std::string& /*path*/) { return {}; }

std::string accountName() { return {}; }

void giveToOwnerOf(const std::string& /*model*/, const std::string& /*path*/) {}

bool isForeignPath(const std::string& /*path*/) { return false; }

}  // namespace zepasign::tools
