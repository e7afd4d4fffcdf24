// The count of memory blocks, kept by the program's own malloc.
#ifndef ZEPASIGN_TESTS_SUPPORT_LIVE_BLOCKS_POSIX_H_
#define ZEPASIGN_TESTS_SUPPORT_LIVE_BLOCKS_POSIX_H_

namespace zepasign::testing {

// liveBlocks: how many blocks of memory this process holds, those of all libraries included.
[[nodiscard]] long liveBlocks();

}  // namespace zepasign::testing

#endif  // ZEPASIGN_TESTS_SUPPORT_LIVE_BLOCKS_POSIX_H_
