// Counts the library's blocks. The test program puts its own ztm_alloc, ztm_realloc and ztm_free in front
// of the library's.
#ifndef ZT_TESTS_BLOCKS_HH
#define ZT_TESTS_BLOCKS_HH

#include <atomic>

extern std::atomic<int> liveBlocks;

#endif
