// Makes the library's allocations fail, and counts its blocks. A test program that includes this puts its
// own ztm_alloc, ztm_realloc and ztm_free in front of the library's.
#ifndef ZT_TESTS_FAULTS_HH
#define ZT_TESTS_FAULTS_HH

#include "core/ztmem.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <set>

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
inline int liveBlocks = 0;
inline int64_t liveBytes = 0;
inline int64_t mostBytes = 0;  // that were live at any time since the host set it
inline int32_t lastSizeAskedFor = 0;
inline int reallocationsOfNothing = 0;

// The live blocks that were allocated since a test set it; NULL while none does.
inline std::set<void *> *notedBlocks = nullptr;

inline void forgetBlock(void *block) {
  if (block == nullptr) return;
  if (notedBlocks != nullptr) notedBlocks->erase(block);
  liveBytes -= static_cast<int64_t>(malloc_usable_size(block));
}

inline void *noteBlock(void *block) {
  if (block == nullptr) return nullptr;
  if (notedBlocks != nullptr) notedBlocks->insert(block);
  liveBytes += static_cast<int64_t>(malloc_usable_size(block));
  if (liveBytes > mostBytes) mostBytes = liveBytes;
  return block;
}

__attribute__((used)) inline void *ztm_alloc(int32_t size) {
  lastSizeAskedFor = size;
  if (size < 0 || allocationFaults.strike()) return nullptr;
  ++liveBlocks;
  return noteBlock(malloc(static_cast<size_t>(size)));
}

__attribute__((used)) inline void *ztm_realloc(void *block, int32_t size) {
  lastSizeAskedFor = size;
  if (block == nullptr) ++reallocationsOfNothing;
  if (size < 0 || allocationFaults.strike()) return nullptr;
  if (block == nullptr) ++liveBlocks;
  forgetBlock(block);
  return noteBlock(realloc(block, static_cast<size_t>(size)));
}

// What is freed is overwritten, so that a later use shows.
__attribute__((used)) inline void ztm_free(void *block) {
  if (block == nullptr) return;
  forgetBlock(block);
  memset(block, 0xDB, malloc_usable_size(block));
  --liveBlocks;
  free(block);
}

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

// Runs the scenario with its first allocation refused, then with its second, and so on until one run
// meets no refusal; once with that single allocation refused and once with all that follow it too. Each
// run must leave as many blocks allocated as it found.
inline void exhaustMemoryIn(const std::function<void()> &scenario) {
  scenario();  // what is made once and kept
  for (const bool andAllFollowing : {false, true}) {
    for (int succeeding = 0; !testing::Test::HasFailure(); ++succeeding) {
      const int before = liveBlocks;
      const Fault fault(succeeding, andAllFollowing);
      scenario();
      EXPECT_EQ(liveBlocks, before) << "with allocation " << succeeding << " refused";
      if (fault.end()) continue;
      EXPECT_GT(succeeding, 0) << "the scenario allocates nothing";
      break;
    }
  }
}

// Whether the scenario asks for memory.
inline bool allocates(const std::function<void()> &scenario) {
  const Fault fault(0, true);
  scenario();
  return fault.end();
}

#endif
