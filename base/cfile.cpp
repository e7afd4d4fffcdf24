#include "base/cfile.h"

#include "base/clog.h"
#include "base/platform.h"
#include "base/text.h"

namespace zepasign {

bool cFile::loadFromFile(const char* path) {
  clear();
  const bool loaded = !isEmpty(path) && read(path);
  logBool(kDebug, "end cFile::loadFromFile() return", loaded);
  return loaded;
}

bool cFile::read(const char* path) {
  const platform::FilePtr file = platform::openForReading(path);
  if (!file) {
    logErrorValue("Open file", path);
    return false;
  }
  const std::int64_t size = platform::fileSize(file.get());
  if (size == 0) return true;
  if (size < 0 || size > kMaxLength) {
    logInt(kError, "Read file size", 0);
    return false;
  }
  allocate(static_cast<int>(size));
  const std::size_t count = std::fread(data(), 1, static_cast<std::size_t>(size), file.get());
  if (count == static_cast<std::size_t>(size)) return true;
  logInt(kError, "Read file size", static_cast<int>(count));
  clear();
  return false;
}

}  // namespace zepasign
