// What fuzz targets demand of the library's blocks.
#ifndef ZT_FUZZ_BLOCKS_HH
#define ZT_FUZZ_BLOCKS_HH

#include "fuzz/input.hh"
#include "tests/helpers/allocator.hh"

#include <utility>

// Lets what the target itself needs be allocated, whatever is to fail.
class NoFaults {
 public:
  NoFaults()
      : before(std::exchange(allocationFaults.before, -1)), bytes(std::exchange(bytesAllowed, INT64_MAX)) {}
  ~NoFaults() {
    allocationFaults.before = before;
    bytesAllowed = bytes;
  }
  NoFaults(const NoFaults &) = delete;
  NoFaults &operator=(const NoFaults &) = delete;

 private:
  int before;
  int64_t bytes;
};

// Everything that is allocated in its scope has to be released in it. So many bytes may be.
class NoBlocksLeft {
 public:
  explicit NoBlocksLeft(int64_t bytes = int64_t{1} << 28) : before(liveBlocks) {
    bytesAllowed = liveBytes + bytes;
    metBytesAllowed = false;
  }
  ~NoBlocksLeft() {
    allocationFaults.before = -1;
    ZT_REQUIRE(liveBlocks == before);
  }
  NoBlocksLeft(const NoBlocksLeft &) = delete;
  NoBlocksLeft &operator=(const NoBlocksLeft &) = delete;

 private:
  int before;
};

#endif
