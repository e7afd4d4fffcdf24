#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>

#include "base/platform.h"

namespace __gnu_cxx {
void __freeres();  // the C++ runtime's own; no header declares it
}

namespace zepasign::platform {
namespace {

// FreeEmergencyPool: the C++ runtime inside the DLL keeps about 73 KiB for exceptions thrown when memory is short and
// never frees them; a host that loads and unloads the library for each signature would lose them every time. The
// priority makes this the last object to be destroyed.
struct FreeEmergencyPool {
  ~FreeEmergencyPool() { __gnu_cxx::__freeres(); }
};
[[gnu::init_priority(101)]] const FreeEmergencyPool freeEmergencyPool;

}  // namespace

const char kDirectorySeparator = '\\';

// now reads the clock once: seconds and milliseconds of two readings could belong to different seconds.
LocalTime now() noexcept {
  constexpr std::uint64_t kUnixEpoch = 116444736000000000;  // 1970-01-01 in units of 100 ns since 1601-01-01
  FILETIME clock;
  GetSystemTimeAsFileTime(&clock);
  const std::uint64_t ticks = (std::uint64_t{clock.dwHighDateTime} << 32 | clock.dwLowDateTime) - kUnixEpoch;
  const auto seconds = static_cast<__time64_t>(ticks / 10'000'000);
  std::tm local{};
  if (_localtime64_s(&local, &seconds) != 0) return {};  // not _localtime64: its buffer may be the host's as well
  return makeLocalTime(local, static_cast<int>(ticks / 10'000 % 1000));
}

void preferLargePages(void*, std::size_t) noexcept {}

int processId() noexcept { return _getpid(); }

std::string currentDirectory() {
  char directory[1024];
  return _getcwd(directory, sizeof directory) != nullptr ? directory : "";
}

// createDirectory asks _access and not errno: for a drive such as C: the system answers "access denied", not "exists".
bool createDirectory(const char* path) noexcept { return _mkdir(path) == 0 || _access(path, 0) == 0; }

namespace {

// searchPattern looks at the last character, not at the last byte, which 0x5C may share with a Big5 character.
std::string searchPattern(const std::string& directory) {
  const char last = *CharPrevA(directory.c_str(), directory.c_str() + directory.size());
  return directory + (last == '/' || last == '\\' ? "*" : "/*");
}

// DirectorySearch: one directory search, ended with its scope.
class DirectorySearch final {
 public:
  explicit DirectorySearch(const std::string& pattern) : handle_(_findfirst64i32(pattern.c_str(), &entry_)) {}
  ~DirectorySearch() {
    if (found()) _findclose(handle_);
  }
  DirectorySearch(const DirectorySearch&) = delete;
  DirectorySearch& operator=(const DirectorySearch&) = delete;

  [[nodiscard]] bool found() const { return handle_ != -1; }
  [[nodiscard]] const char* name() const { return entry_.name; }
  [[nodiscard]] bool next() { return _findnext64i32(handle_, &entry_) == 0; }

 private:
  _finddata64i32_t entry_{};
  std::intptr_t handle_;
};

}  // namespace

bool listDirectory(const std::string& directory, std::vector<std::string>& names) {
  if (directory.empty()) return false;  // else the root of the drive would be listed
  DirectorySearch search(searchPattern(directory));
  if (!search.found()) return false;
  do names.emplace_back(search.name());
  while (search.next());
  return true;
}

FilePtr openForReading(const char* path) {
  const int descriptor = _open(path, _O_RDONLY | _O_BINARY | _O_NOINHERIT);
  if (descriptor < 0) return nullptr;
  FilePtr file;
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  if (GetFileType(handle) == FILE_TYPE_DISK) file.reset(_fdopen(descriptor, "rb"));
  if (!file) {
    _close(descriptor);
  } else {
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
  }
  return file;
}

std::int64_t fileSize(std::FILE* file) noexcept {
  std::rewind(file);
  return _filelengthi64(_fileno(file));
}

// AppendFile: FILE_APPEND_DATA without FILE_WRITE_DATA makes the system append each write in one step, so that the
// lines of several processes do not overwrite each other; the C library seeks and writes in two.
AppendFile::AppendFile(const char* path) noexcept
    : handle_(reinterpret_cast<std::intptr_t>(CreateFileA(path, FILE_APPEND_DATA | SYNCHRONIZE,
                                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                                          nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr))) {
  if (!isOpen() || GetFileType(reinterpret_cast<HANDLE>(handle_)) == FILE_TYPE_DISK) return;
  CloseHandle(reinterpret_cast<HANDLE>(handle_));
  handle_ = -1;
}

AppendFile::~AppendFile() {
  if (isOpen()) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

bool AppendFile::isOpen() const noexcept { return handle_ != -1; }

namespace {

bool writeAll(std::intptr_t file, const char* data, std::size_t length) noexcept {
  DWORD written = 0;
  return WriteFile(reinterpret_cast<HANDLE>(file), data, static_cast<DWORD>(length), &written, nullptr) != 0;
}

}  // namespace

// append ends lines with CR LF, as text mode does. A text within the buffer's size is one write.
void AppendFile::append(std::string_view text) noexcept {
  std::array<char, 8192> buffer;
  std::size_t used = 0;
  for (const char c : text) {
    if (used + 2 > buffer.size()) {
      if (!writeAll(handle_, buffer.data(), used)) return;
      used = 0;
    }
    if (c == '\n') buffer[used++] = '\r';
    buffer[used++] = c;
  }
  (void)writeAll(handle_, buffer.data(), used);
}

void printToStandardOutput(std::string_view text) noexcept {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

// The text converter over the system's code page 950, from Big5 only, which is all that the library converts from. It
// accepts and gives exactly what the C library's BIG5 does on the other systems; a call converts the whole input or,
// when it fails, leaves all four arguments as they were.
namespace {

constexpr UINT kBig5 = 950;

// Step converts `length` bytes (at least 1) into the `room` bytes at `out` and returns how many it made, or
// kNotConverted with errno set.
using Step = std::size_t (*)(const char* in, int length, char* out, int room);

struct Conversion {
  const char* target;
  const char* source;
  Step step;
};

std::size_t fail(int error) {
  errno = error;
  return kNotConverted;
}

std::size_t failAsSystem() { return fail(GetLastError() == ERROR_INSUFFICIENT_BUFFER ? E2BIG : EILSEQ); }

bool isLead(char byte) { return static_cast<unsigned char>(byte) >= 0x81; }

// hasUserDefined: whether a character lies in the ranges that code page 950 leaves to each user (lead bytes 0x81 to
// 0xA0 and 0xFA upwards). The system lets them pass, BIG5 does not know them.
bool hasUserDefined(const char* text, std::size_t length) {
  for (std::size_t i = 0; i < length; i += isLead(text[i]) ? 2 : 1) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead >= 0xFA || (lead >= 0x81 && lead <= 0xA0)) return true;
  }
  return false;
}

std::size_t big5ToUtf16(const char* in, int length, char* out, int room) {
  if (hasUserDefined(in, static_cast<std::size_t>(length))) return fail(EILSEQ);
  if (room < 2) return fail(E2BIG);  // 0 would ask for the length
  const int made =
      MultiByteToWideChar(kBig5, MB_ERR_INVALID_CHARS, in, length, reinterpret_cast<wchar_t*>(out), room / 2);
  return made > 0 ? static_cast<std::size_t>(made) * 2 : failAsSystem();
}

// big5ToUtf8 goes character by character: a call that names this encoding is refused in the end, whatever its length.
std::size_t big5ToUtf8(const char* in, int length, char* out, int room) {
  int used = 0;
  for (int i = 0; i < length;) {
    const int size = isLead(in[i]) && i + 1 < length ? 2 : 1;
    wchar_t wide = L'\0';
    if (big5ToUtf16(in + i, size, reinterpret_cast<char*>(&wide), sizeof wide) == kNotConverted) return kNotConverted;
    if (used == room) return fail(E2BIG);  // 0 would ask for the length
    const int made = WideCharToMultiByte(CP_UTF8, 0, &wide, 1, out + used, room - used, nullptr, nullptr);
    if (made <= 0) return failAsSystem();
    used += made;
    i += size;
  }
  return static_cast<std::size_t>(used);
}

std::size_t validateBig5(const char* in, int length, char* out, int room) {
  const auto bytes = static_cast<std::size_t>(length);
  if (hasUserDefined(in, bytes)) return fail(EILSEQ);
  if (MultiByteToWideChar(kBig5, MB_ERR_INVALID_CHARS, in, length, nullptr, 0) <= 0) return failAsSystem();
  if (room < length) return fail(E2BIG);
  std::memcpy(out, in, bytes);
  return bytes;
}

Conversion conversions[] = {
    {"BIG5", "BIG5", validateBig5}, {"UTF-16LE", "BIG5", big5ToUtf16}, {"UTF-8", "BIG5", big5ToUtf8}};

int asInt(std::size_t length) { return static_cast<int>(std::min<std::size_t>(length, INT_MAX)); }

}  // namespace

Converter openConverter(const char* target, const char* source) noexcept {
  errno = EINVAL;
  if (!IsValidCodePage(kBig5)) return nullptr;
  const auto found = std::find_if(std::begin(conversions), std::end(conversions), [&](const Conversion& one) {
    return _stricmp(one.target, target) == 0 && _stricmp(one.source, source) == 0;
  });
  return found != std::end(conversions) ? found : nullptr;
}

std::size_t convert(Converter converter, char** in, std::size_t* inLeft, char** out, std::size_t* outLeft) noexcept {
  if (in == nullptr || *inLeft == 0) return 0;
  if (*inLeft > INT_MAX) return fail(E2BIG);
  const std::size_t made = static_cast<const Conversion*>(converter)->step(*in, asInt(*inLeft), *out, asInt(*outLeft));
  if (made == kNotConverted) return kNotConverted;
  *in += *inLeft;
  *inLeft = 0;
  *out += made;
  *outLeft -= made;
  return 0;
}

void closeConverter(Converter /*converter*/) noexcept {}  // the conversions are constant

}  // namespace zepasign::platform
