// This program's own malloc, free and file calls. They replace the C library's, for the program and for every library
// that it loads: a test lets the n-th call fail, counts the blocks in use, or looks into each block that is freed.
// Not thread-safe: tests use them from one thread.
#ifndef ZEPASIGN_TESTS_SUPPORT_FAULTS_POSIX_H_
#define ZEPASIGN_TESTS_SUPPORT_FAULTS_POSIX_H_

#include <cstddef>

namespace zepasign::testing {

// Fault: what fails: an allocation, an operation on a file, or what opens a stream: BIO_new_fp, libcrypto's over a
// file, and iconv_open, both for lack of memory.
enum class Fault { memory, file, stream };

// failAt: the n-th call of that kind from now on fails, and with `lasting` all later ones too; 0: none.
void failAt(Fault fault, long n, bool lasting);

// endFaults: from now on nothing fails.
void endFaults();

// openedInheritably: how many files were opened that a program started by this process would inherit.
[[nodiscard]] long openedInheritably();

// failedCaller: the return address of the first call that failed since failAt; null when none has.
[[nodiscard]] const void* failedCaller();

// liveBlocks: how many blocks of memory this process holds, those of all libraries included.
[[nodiscard]] long liveBlocks();

// watchFrees: from now on `watch` is called with each block that free or realloc gets and its usable size, which it may
// change; it must not allocate.
void watchFrees(void (*watch)(char* block, std::size_t size));

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_FAULTS_POSIX_H_
