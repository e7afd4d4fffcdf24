// Replacing a file. The temporary file is open to this process alone until it has replaced the target, so that another
// run that wants the same name meets a sharing violation and takes the next one.
#include "tools/terminal/filesystem.h"

#include <share.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace zepasign::tools {
namespace {

// Handle: closes it at the end of the scope.
class Handle final {
 public:
  explicit Handle(HANDLE handle) noexcept : handle_(handle) {}
  ~Handle() {
    if (isOpen()) CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  [[nodiscard]] bool isOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const noexcept { return handle_; }

 private:
  HANDLE handle_;
};

bool writeAll(HANDLE file, std::string_view bytes) {
  constexpr std::size_t kMaxBlock = 1U << 30U;  // a DWORD holds it
  while (!bytes.empty()) {
    DWORD count = 0;
    const auto block = static_cast<DWORD>(std::min(bytes.size(), kMaxBlock));
    if (WriteFile(file, bytes.data(), block, &count, nullptr) == 0 || count == 0) return false;
    bytes.remove_prefix(count);
  }
  return true;
}

std::string fullPath(const std::string& path) {
  std::string full(MAX_PATH, '\0');
  const DWORD length = GetFullPathNameA(path.c_str(), MAX_PATH, full.data(), nullptr);
  if (length == 0 || length > MAX_PATH) return path;
  full.resize(length);
  return full;
}

bool isDevice(const std::string& path) { return fullPath(path).starts_with("\\\\.\\"); }

// followLinks: the path itself when nothing is there yet.
std::string followLinks(const std::string& path) {
  const Handle file(CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  std::string target(MAX_PATH, '\0');
  const DWORD length =
      file.isOpen() ? GetFinalPathNameByHandleA(file.get(), target.data(), MAX_PATH, FILE_NAME_NORMALIZED) : 0;
  if (length == 0 || length > MAX_PATH) return path;
  target.resize(length);
  return target;
}

HANDLE createTemp(const std::string& name) {
  return CreateFileA(name.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// renameOpen: renames a file that stays open, over one that may be there.
bool renameOpen(HANDLE file, const std::string& target) {
  std::vector<wchar_t> wide(target.size() + 1);
  const int length = MultiByteToWideChar(CP_ACP, 0, target.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
  if (length == 0) return false;
  const auto nameSize = static_cast<std::size_t>(length) * sizeof(wchar_t);
  std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + nameSize);
  auto* info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  info->ReplaceIfExists = TRUE;
  info->FileNameLength = static_cast<DWORD>(nameSize - sizeof(wchar_t));
  std::copy(wide.begin(), wide.begin() + length, info->FileName);
  return SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(buffer.size())) != 0;
}

bool replaceRegular(const std::string& path, std::string_view bytes) {
  constexpr int kMaxRuns = 100;  // more than that many at once on one file are a mistake
  for (int run = 0; run < kMaxRuns; ++run) {
    const std::string name = path + std::string(kTempSuffix) + (run == 0 ? "" : std::to_string(run));
    const Handle file(createTemp(name));
    if (!file.isOpen()) continue;
    if (writeAll(file.get(), bytes) && renameOpen(file.get(), path)) return true;
    FILE_DISPOSITION_INFO removal = {TRUE};
    SetFileInformationByHandle(file.get(), FileDispositionInfo, &removal, sizeof removal);
    return false;
  }
  return false;
}

FileStatus::Kind kindOf(const std::string& path, DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileStatus::Kind::kDirectory;
  return isDevice(path) ? FileStatus::Kind::kOther : FileStatus::Kind::kRegular;
}

}  // namespace

FileStatus statusOf(const std::string& path) {
  constexpr std::int64_t kNanosecondsPerTick = 100;
  const Handle file(CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION about{};
  if (!file.isOpen() || GetFileInformationByHandle(file.get(), &about) == 0) return {};
  const auto wide = [](DWORD high, DWORD low) { return static_cast<std::uint64_t>(high) << 32U | low; };
  const auto ticks =
      static_cast<std::int64_t>(wide(about.ftLastWriteTime.dwHighDateTime, about.ftLastWriteTime.dwLowDateTime));
  return {kindOf(path, about.dwFileAttributes), about.dwVolumeSerialNumber,
          wide(about.nFileIndexHigh, about.nFileIndexLow), ticks * kNanosecondsPerTick};
}

bool isLink(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool isAbsolute(const std::string& path) {
  return path.starts_with('/') || path.starts_with('\\') || path.substr(0, 2).ends_with(':');
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
  std::string place = fullPath(path);
  CharLowerBuffA(place.data(), static_cast<DWORD>(place.size()));
  return place;
}

int descriptorOf(const std::string& /*path*/) { return -1; }

// D: of Microsoft's runtime library, the file is deleted when it is closed, also by the end of the process. N: not
// inherited.
platform::FilePtr openTemporary() {
  char directory[MAX_PATH + 1];
  char name[MAX_PATH];
  const DWORD length = GetTempPathA(sizeof directory, directory);
  if (length == 0 || length >= sizeof directory || GetTempFileNameA(directory, "zep", 0, name) == 0) return nullptr;
  platform::FilePtr file(_fsopen(name, "w+bDN", _SH_DENYRW));
  if (!file) DeleteFileA(name);
  return file;
}

bool writeFileAt(const std::string& path, std::string_view bytes, bool /*isPrivate*/) {
  if (!isDevice(path)) return replaceRegular(followLinks(path), bytes);
  const Handle device(
      CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
  return device.isOpen() && writeAll(device.get(), bytes);
}

}  // namespace zepasign::tools
