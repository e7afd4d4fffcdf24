// Faults on order: this program has its own malloc and its own file calls in front of the C library's, for itself and
// for every library that it loads. Each call fails once, in a process of its own.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdarg>
#include <set>

#include "tests/support/host_posix.h"

namespace {

enum Kind { kMemory, kFile };

std::atomic<long> live{0};
long callsLeft[2] = {0, 0};  // until the failure; 0: none fails
bool lasting = false;        // whether all later calls fail, too
bool failed = false;

bool failsNow(Kind kind, int error) {
  long& left = callsLeft[kind];
  if (left == 0 || (left > 1 && --left > 0)) return false;
  left = lasting ? 1 : 0;
  failed = true;
  errno = error;
  return true;
}

void* counted(void* block) {
  if (block != nullptr) ++live;
  return block;
}

// next: the C library's own function of that name.
template <class Function>
Function* next(Function* /*like*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) { return failsNow(kMemory, ENOMEM) ? nullptr : counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) {
  return failsNow(kMemory, ENOMEM) ? nullptr : counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
  if (failsNow(kMemory, ENOMEM)) return nullptr;
  return block == nullptr ? counted(__libc_realloc(block, size)) : __libc_realloc(block, size);
}
void free(void* block) {
  if (block != nullptr) --live;
  __libc_free(block);
}

int open(const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
  va_end(rest);
  static auto* const real = next(open, "open");
  return failsNow(kFile, EMFILE) ? -1 : real(path, flags, mode);
}
int close(int file) {
  static auto* const real = next(close, "close");
  const int result = real(file);
  return failsNow(kFile, EIO) ? -1 : result;
}
}

#define FAILING(result, name, arguments, values, failure, error) \
  extern "C" result name arguments {                             \
    static auto* const real = next(name, #name);                 \
    return failsNow(kFile, error) ? failure : real values;       \
  }
FAILING(ssize_t, read, (int file, void* bytes, std::size_t size), (file, bytes, size), -1, EIO)
FAILING(ssize_t, write, (int file, const void* bytes, std::size_t size), (file, bytes, size), -1, ENOSPC)
FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode), -1, ENOSPC)
FAILING(DIR*, opendir, (const char* path), (path), nullptr, EMFILE)
FAILING(std::FILE*, fdopen, (int file, const char* mode), (file, mode), nullptr, ENOMEM)
FAILING(std::FILE*, fopen, (const char* path, const char* mode), (path, mode), nullptr, EMFILE)
FAILING(std::size_t, fread, (void* bytes, std::size_t size, std::size_t count, std::FILE* file),
        (bytes, size, count, file), 0, EIO)

namespace zepasign::testing {

long liveBlocks() { return live; }

class Failures : public Hosts {
 protected:
  struct Outcome {
    bool failed;
    int initial, sign;
    bool complete;
    long grown;  // blocks held more than before
  };

  void SetUp() override {
    prepare([this](SignerStage& stage) {
      folder_.write("chain.p7b", makeP7b({stage.root.certificate, stage.ca.certificate}));
      folder_.write("ca.crl", makeCrl({.issuer = stage.ca, .serials = {"1", "2"}}));
      for (const char* path : {"P7B.path", "CRL.path"}) stage.properties[path] = folder_.path();
      stage.properties.merge(Properties{{"P7B0.name", "chain.p7b"},
                                        {"P7B0.SKI", subjectKeyIdOf(stage.ca.certificate)},
                                        {"P7B0.crlFile0", "ca.crl"},
                                        {"LOG.file", "log"}});
      stage.properties["LOG.path"] = folder_.path("a/b");
      stage.properties["PKCS7.addCert"] = "2";
    });
    std::filesystem::remove_all(folder_.path("a"));
    seen_ = static_cast<Outcome*>(mmap(nullptr, sizeof *seen_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0));
  }

  // meets: one initialisation and one signature among failures, then one of each without.
  void meets(Kind kind, long n) {
    const auto deed = [&] {
      *seen_ = {};
      const long before = live;
      callsLeft[kind] = n;
      seen_->initial = library_.initialise(file_);
      seen_->sign = library_.sign();
      callsLeft[kind] = 0;
      seen_->failed = failed;
      const std::string text = library_.text();
      EXPECT_EQ(text.empty(), seen_->sign != 0);
      seen_->complete = text == expected_;
      const std::string again = library_.signs(file_);
      EXPECT_TRUE(again == expected_) << seen_->initial << ' ' << seen_->sign << " then " << library_.text("GetErrorMsg") << " size " << again.size();
      seen_->grown = live - before;
    };
    inChild(deed, "failure " + std::to_string(n));
  }

  // sweep: lets every call of that kind fail, one after the other, and takes note of the codes.
  void sweep(Kind kind, bool isLasting) {
    lasting = isLasting;
    meets(kind, 0);
    const long clean = seen_->grown;
    std::map<std::string, long> notes;
    for (long n = getenv("N") ? atol(getenv("N")) : 1; n < 100'000; ++n) {
      meets(kind, n);
      if (!seen_->failed) { notes["total"] = n - 1; break; }
      initial_.insert(seen_->initial);
      sign_.insert(seen_->sign);
      if (getenv("N")) { std::fprintf(stderr, "%d %d\n", seen_->initial, seen_->sign); break; }
      ++notes[std::to_string(seen_->initial) + "/" + std::to_string(seen_->sign) + (seen_->complete ? " complete" : "") +
              " leak " + std::to_string(seen_->grown - clean)];
    }
    for (auto& [k, v] : notes) std::fprintf(stderr, "NOTE %s: %ld\n", k.c_str(), v);
  }

  Library library_;
  Outcome* seen_ = nullptr;
  std::set<int> initial_, sign_;
};

TEST_F(Failures, OfFiles) {
  sweep(kFile, false);
  EXPECT_EQ(initial_, (std::set<int>{0, 1102, 1202}));
  EXPECT_EQ(sign_, (std::set<int>{0, 5204}));
}
TEST_F(Failures, OfFilesLasting) {
  sweep(kFile, true);
  EXPECT_EQ(initial_, (std::set<int>{0, 1102, 1202}));
  EXPECT_EQ(sign_, (std::set<int>{0, 5204}));
}
TEST_F(Failures, OfMemory) {
  sweep(kMemory, false);
  EXPECT_EQ(initial_, (std::set<int>{0, 1102, 1202, 5002, 5208}));
  EXPECT_EQ(sign_, (std::set<int>{0, 5002, 5061, 5204}));
}
TEST_F(Failures, OfMemoryLasting) {
  sweep(kMemory, true);
  EXPECT_EQ(initial_, (std::set<int>{0, 1102, 1202, 5002, 5208}));
  EXPECT_EQ(sign_, (std::set<int>{0, 5002, 5061, 5204}));
}

}  // namespace zepasign::testing
