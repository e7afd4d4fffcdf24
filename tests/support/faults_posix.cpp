#include "tests/support/faults_posix.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <iconv.h>
#include <malloc.h>
#include <openssl/bio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace zepasign::testing {
namespace {

std::atomic<long> live{0};
long callsLeft[3] = {};  // until the failure; 0: none fails
bool failsOn = false;    // whether all later calls fail, too
const void* caller = nullptr;
long inheritable = 0;
void (*watchFreed)(char*, std::size_t) = nullptr;

bool failsNow(Fault fault, int error, const void* returnAddress) {
  long& left = callsLeft[static_cast<int>(fault)];
  if (left == 0 || (left > 1 && --left > 0)) return false;
  left = failsOn ? 1 : 0;
  if (caller == nullptr) caller = returnAddress;
  errno = error;
  return true;
}

void* counted(void* block) {
  if (block != nullptr) ++live;
  return block;
}

void look(void* block) {
  if (watchFreed != nullptr && block != nullptr) watchFreed(static_cast<char*>(block), malloc_usable_size(block));
}

int noted(int flags) {
  if ((flags & O_CLOEXEC) == 0) ++inheritable;
  return flags;
}

// next: the C library's own function of that name.
template <class Function>
Function* next(Function* /*like*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void failAt(Fault fault, long n, bool lasting) {
  callsLeft[static_cast<int>(fault)] = n;
  failsOn = lasting;
  caller = nullptr;
}
void endFaults() { std::fill(std::begin(callsLeft), std::end(callsLeft), 0); }
const void* failedCaller() { return caller; }
long openedInheritably() { return inheritable; }
long liveBlocks() { return live; }
void watchFrees(void (*watch)(char*, std::size_t)) { watchFreed = watch; }

}  // namespace zepasign::testing

#define FAILS(fault, error) \
  zepasign::testing::failsNow(zepasign::testing::Fault::fault, error, __builtin_return_address(0))

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) {
  return FAILS(memory, ENOMEM) ? nullptr : zepasign::testing::counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return FAILS(memory, ENOMEM) ? nullptr : zepasign::testing::counted(__libc_calloc(count, size));
}
// realloc: moves the block when frees are watched, so that what the old one holds is always seen.
void* realloc(void* block, std::size_t size) {
  if (FAILS(memory, ENOMEM)) return nullptr;
  if (block == nullptr) return zepasign::testing::counted(__libc_realloc(block, size));
  if (zepasign::testing::watchFreed == nullptr) return __libc_realloc(block, size);
  void* moved = __libc_malloc(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
  zepasign::testing::look(block);
  __libc_free(block);
  return moved;
}
void free(void* block) {
  if (block != nullptr) --zepasign::testing::live;
  zepasign::testing::look(block);
  __libc_free(block);
}

#define FAILING(fault, Result, name, parameters, values, failure, error) \
  Result name parameters {                                               \
    static const auto real = zepasign::testing::next(name, #name);       \
    return FAILS(fault, error) ? failure : real values;                  \
  }
// clang-format off
FAILING(file, int, open, (const char* path, int flags, ...), (path, zepasign::testing::noted(flags), 0666), -1, EMFILE)
FAILING(file, ssize_t, write, (int file, const void* bytes, std::size_t size), (file, bytes, size), -1, ENOSPC)
FAILING(file, int, mkdir, (const char* path, mode_t mode), (path, mode), -1, ENOSPC)
FAILING(file, DIR*, opendir, (const char* path), (path), nullptr, EMFILE)
FAILING(file, FILE*, fdopen, (int file, const char* mode), (file, mode), nullptr, ENOMEM)
FAILING(file, std::size_t, fread, (void* to, std::size_t size, std::size_t count, FILE* file), (to, size, count, file), 0, EIO)
FAILING(file, int, close, (int file), (file), (real(file), -1), EIO)
FAILING(stream, iconv_t, iconv_open, (const char* to, const char* from), (to, from), reinterpret_cast<iconv_t>(-1), ENOMEM)
FAILING(stream, BIO*, BIO_new_fp, (FILE* file, int flags), (file, flags), nullptr, ENOMEM)
// clang-format on
}
