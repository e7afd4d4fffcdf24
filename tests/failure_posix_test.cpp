// Faults on order: this program has its own malloc and its own file calls in front of the C library's, for itself and
// for every library that it loads. Each call fails once, in a process of its own.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <atomic>
#include <set>

#include "tests/support/live_blocks_posix.h"
#include "tests/support/loaded_library_posix.h"

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

#define FAILING(Result, name, parameters, values, failure, error) \
  Result name parameters {                                        \
    static const auto real = next(name, #name);                   \
    return failsNow(kFile, error) ? failure : real values;        \
  }
// clang-format off
FAILING(int, open, (const char* path, int flags, ...), (path, flags, 0666), -1, EMFILE)
FAILING(ssize_t, write, (int file, const void* bytes, std::size_t size), (file, bytes, size), -1, ENOSPC)
FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode), -1, ENOSPC)
FAILING(DIR*, opendir, (const char* path), (path), nullptr, EMFILE)
FAILING(FILE*, fdopen, (int file, const char* mode), (file, mode), nullptr, ENOMEM)
FAILING(std::size_t, fread, (void* to, std::size_t size, std::size_t count, FILE* file), (to, size, count, file), 0, EIO)
FAILING(int, close, (int file), (file), (real(file), -1), EIO)
// clang-format on
}

namespace zepasign::testing {

long liveBlocks() { return live; }

class Failures : public HostProcess {
 protected:
  struct Outcome {
    bool failed;
    int initial, sign;
    long grown;  // blocks held more than before
  };

  void SetUp() override {
    prepare([this](Fixture& fixture) {
      folder_.write("chain.p7b", makeP7b({fixture.root.certificate, fixture.ca.certificate}));
      const Certificate other = makeIdentity(caPlan("Other Root")).certificate;
      folder_.write("other.p7b", makeP7b({other}));
      folder_.write("ca.crl", makeCrl({.issuer = fixture.ca, .serials = {"1", "2"}}));
      for (const char* path : {"P7B.path", "CRL.path"}) fixture.properties[path] = folder_.path();
      fixture.properties["P7B0.name"] = "chain.p7b";
      fixture.properties["P7B0.SKI"] = subjectKeyIdOf(fixture.ca.certificate);
      fixture.properties["P7B0.crlFile0"] = "ca.crl";
      fixture.properties["P7B1.name"] = "other.p7b";
      fixture.properties["P7B1.SKI"] = subjectKeyIdOf(other);
      fixture.properties["LOG.path"] = folder_.path("a/b");
      fixture.properties["PKCS7.addCert"] = "2";
    });
    std::filesystem::remove_all(folder_.path("a"));
    seen_ = static_cast<Outcome*>(mmap(nullptr, sizeof *seen_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0));
  }

  // meets: one initialisation and one signature while the n-th call fails, then one of each without.
  void meets(Kind kind, long n) {
    const auto body = [&] {
      const long before = live;
      callsLeft[kind] = n;
      seen_->initial = library_.initialise(file_);
      seen_->sign = library_.sign();
      callsLeft[kind] = 0;
      seen_->failed = failed;
      EXPECT_EQ(library_.text().empty(), seen_->sign != 0);
      EXPECT_TRUE(library_.signs(file_) == expected_) << library_.text("GetErrorMsg");
      seen_->grown = live - before;
    };
    inChild(body, "failure " + std::to_string(n));
  }

  // sweep: lets every step-th call of that kind fail and expects one of these codes each time.
  void sweep(Kind kind, const std::set<int>& initial, const std::set<int>& sign, long step = 1) {
    meets(kind, 0);
    const long clean = seen_->grown;
    for (long n = 1; n == 1 || seen_->failed; n += step) {
      *seen_ = {};
      meets(kind, n);
      EXPECT_TRUE(initial.contains(seen_->initial) && sign.contains(seen_->sign)) << n << ' ' << seen_->initial;
      // One more: the chain's certificates came later. Without memory, the crypto library itself loses some blocks.
      EXPECT_TRUE(kind == kMemory || seen_->grown <= clean + 1) << n;
    }
  }

  LoadedLibrary library_;
  Outcome* seen_ = nullptr;
};

// Beside a chain that was accepted, one whose file cannot be read is dropped for good, but none that found no memory.
TEST_F(Failures, OfFileOperations) {
  std::filesystem::remove(folder_.path("other.p7b"));
  for (const bool all : {false, true}) {
    lasting = all;
    sweep(kFile, {0, 1102, 1202, 5002}, {0, 5204});
  }
}
TEST_F(Failures, OfAllocations) { sweep(kMemory, {0, 5002}, {0, 5002, 5204}, 11); }

}  // namespace zepasign::testing
