// The one allocator of tests and fuzz targets: it counts the library's blocks, and fails when it is told to. A
// program that includes this puts its own ztm_alloc, ztm_realloc and ztm_free in front of the library's.
#ifndef ZT_TESTS_ALLOCATOR_HH
#define ZT_TESTS_ALLOCATOR_HH

#include "core/ztmem.h"

#include <malloc.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <set>

// A number that threads change in no order with anything else: counting must not hide races by having threads
// wait for each other.
template <typename Number>
class Count {
 public:
  operator Number() const {
    return value.load(std::memory_order_relaxed);
  }
  Number operator=(Number number) {
    value.store(number, std::memory_order_relaxed);
    return number;
  }
  Number operator=(const Count &other) {
    return *this = Number(other);
  }
  void operator+=(Number more) {
    value.fetch_add(more, std::memory_order_relaxed);
  }

 private:
  std::atomic<Number> value{0};
};

inline Count<int> liveBlocks;
inline Count<int64_t> liveBytes;
inline Count<int64_t> mostBytes;  // that were live at any time since the program set it
inline Count<int32_t> lastSizeAskedFor;
inline Count<int> reallocationsOfNothing;

// What would make the live bytes more than that is refused.
inline int64_t bytesAllowed = INT64_MAX;
inline bool metBytesAllowed = false;

// Blocks of this size are refused; -1 while there is no such size.
inline int32_t refusedSize = -1;
inline bool metRefusedSize = false;

// Has blocks of a size refused as long as it lives.
class SizeRefused {
 public:
  explicit SizeRefused(int32_t size) {
    refusedSize = size;
    metRefusedSize = false;
  }
  ~SizeRefused() {
    refusedSize = -1;
  }
  SizeRefused(const SizeRefused &) = delete;
  SizeRefused &operator=(const SizeRefused &) = delete;

  // Whether one was asked for.
  static bool isMet() {
    return metRefusedSize;
  }
};

// The live blocks that were allocated since a test set it; NULL while none does.
inline std::set<void *> *notedBlocks = nullptr;

// Which calls of one kind fail.
struct Faults {
  int before = -1;         // calls that still succeed before one fails; -1 while all succeed
  bool following = false;  // then all that follow fail, too
  int struck = 0;          // calls that failed, ever

  // Whether the call that is being made is to fail.
  bool strike() {
    if (before < 0) return false;
    if (before > 0) {
      --before;
      return false;
    }
    if (!following) before = -1;
    ++struck;
    return true;
  }
};

inline Faults allocationFaults;

// Lets the call after so many others fail, and perhaps all that follow, as long as it lives.
class Fault {
 public:
  explicit Fault(int succeeding, bool andAllFollowing = false, Faults &kind = allocationFaults)
      : faults(kind), struckBefore(kind.struck) {
    faults.before = succeeding;
    faults.following = andAllFollowing;
  }
  ~Fault() {
    end();
  }
  Fault(const Fault &) = delete;
  Fault &operator=(const Fault &) = delete;

  // Ends the fault early; whether a call failed.
  bool end() const {
    faults.before = -1;
    return struck() > 0;
  }
  // The calls that failed so far.
  int struck() const {
    return faults.struck - struckBefore;
  }

 private:
  Faults &faults;
  int struckBefore;
};

inline bool refuses(int32_t size) {
  lastSizeAskedFor = size;
  if (size < 0) return true;
  if (size == refusedSize) return metRefusedSize = true;
  if (liveBytes + size <= bytesAllowed) return allocationFaults.strike();
  metBytesAllowed = true;
  return true;
}

inline void *noteBlock(void *block) {
  if (block == nullptr) return nullptr;
  if (notedBlocks != nullptr) notedBlocks->insert(block);
  liveBlocks += 1;
  liveBytes += static_cast<int64_t>(malloc_usable_size(block));
  if (liveBytes > mostBytes) mostBytes = liveBytes;
  return block;
}

inline void forgetBlock(void *block) {
  if (block == nullptr) return;
  if (notedBlocks != nullptr) notedBlocks->erase(block);
  liveBlocks += -1;
  liveBytes += -static_cast<int64_t>(malloc_usable_size(block));
}

__attribute__((used)) inline void *ztm_alloc(int32_t size) {
  return refuses(size) ? nullptr : noteBlock(malloc(static_cast<size_t>(size)));
}

__attribute__((used)) inline void *ztm_realloc(void *block, int32_t size) {
  if (block == nullptr) reallocationsOfNothing += 1;
  if (refuses(size)) return nullptr;
  forgetBlock(block);
  return noteBlock(realloc(block, static_cast<size_t>(size)));
}

// What is freed is overwritten, so that a later use shows.
__attribute__((used)) inline void ztm_free(void *block) {
  if (block == nullptr) return;
  forgetBlock(block);
  memset(block, 0xDB, malloc_usable_size(block));
  free(block);
}

#endif
