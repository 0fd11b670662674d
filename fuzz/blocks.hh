// Counts the blocks that the library holds, and lets one allocation fail. A fuzz target that includes this
// puts its own ztm_alloc, ztm_realloc and ztm_free in front of the library's.
#ifndef ZT_FUZZ_BLOCKS_HH
#define ZT_FUZZ_BLOCKS_HH

#include "core/ztmem.h"
#include "fuzz/input.hh"

#include <malloc.h>

struct Blocks {
  int64_t live = 0;
  int64_t bytes = 0;
  int64_t limit = INT64_MAX;  // what would take more bytes than that is refused
  bool metLimit = false;
  int32_t faults = 0;
  int32_t beforeFault = -1;  // allocations that still succeed before one fails; -1 while all do
};

inline Blocks blocks;

inline bool refuses(int32_t size) {
  if (size < 0) return true;
  if (blocks.bytes + size > blocks.limit) {
    blocks.metLimit = true;
    return true;
  }
  if (blocks.beforeFault < 0 || blocks.beforeFault-- > 0) return false;
  ++blocks.faults;
  return true;
}

inline void *countBlock(void *block) {
  if (block == nullptr) return nullptr;
  ++blocks.live;
  blocks.bytes += static_cast<int64_t>(malloc_usable_size(block));
  return block;
}

inline void discountBlock(void *block) {
  if (block == nullptr) return;
  --blocks.live;
  blocks.bytes -= static_cast<int64_t>(malloc_usable_size(block));
}

__attribute__((used)) inline void *ztm_alloc(int32_t size) {
  return refuses(size) ? nullptr : countBlock(malloc(static_cast<size_t>(size)));
}

__attribute__((used)) inline void *ztm_realloc(void *block, int32_t size) {
  if (refuses(size)) return nullptr;
  discountBlock(block);
  return countBlock(realloc(block, static_cast<size_t>(size)));
}

__attribute__((used)) inline void ztm_free(void *block) {
  discountBlock(block);
  free(block);
}

// Lets what the target itself needs be allocated, whatever is to fail.
class NoFaults {
 public:
  NoFaults() : kept(blocks) {
    blocks.beforeFault = -1;
    blocks.limit = INT64_MAX;
  }
  ~NoFaults() {
    blocks.beforeFault = kept.beforeFault;
    blocks.limit = kept.limit;
  }
  NoFaults(const NoFaults &) = delete;
  NoFaults &operator=(const NoFaults &) = delete;

 private:
  Blocks kept;
};

// Everything that is allocated in its scope has to be released in it. So many bytes may be.
class NoBlocksLeft {
 public:
  explicit NoBlocksLeft(int64_t mostBytes = int64_t{1} << 28) : before(blocks.live) {
    blocks.limit = blocks.bytes + mostBytes;
    blocks.metLimit = false;
  }
  ~NoBlocksLeft() {
    blocks.beforeFault = -1;
    ZT_REQUIRE(blocks.live == before);
  }
  NoBlocksLeft(const NoBlocksLeft &) = delete;
  NoBlocksLeft &operator=(const NoBlocksLeft &) = delete;

 private:
  int64_t before;
};

#endif
