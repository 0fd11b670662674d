// Makes the library's allocations fail. A test program that includes this puts its own ztm_alloc and
// ztm_realloc in front of the library's.
#ifndef ZT_TESTS_FAULTS_H
#define ZT_TESTS_FAULTS_H

#include "core/ztmem.h"

#include <stdlib.h>

// Allocations that still succeed before one fails; -1 while all succeed.
inline int allocationsBeforeFault = -1;
inline int faultsInjected = 0;
inline int32_t lastSizeAskedFor = 0;
inline int reallocationsOfNothing = 0;

inline bool allocationFails() {
  if (allocationsBeforeFault < 0) return false;
  if (allocationsBeforeFault-- > 0) return false;
  ++faultsInjected;
  return true;
}

__attribute__((used)) inline void *ztm_alloc(int32_t size) {
  lastSizeAskedFor = size;
  return allocationFails() ? nullptr : malloc(static_cast<size_t>(size));
}

__attribute__((used)) inline void *ztm_realloc(void *block, int32_t size) {
  lastSizeAskedFor = size;
  if (block == nullptr) ++reallocationsOfNothing;
  return allocationFails() ? nullptr : realloc(block, static_cast<size_t>(size));
}

// Lets the allocation after so many others fail, as long as it lives.
class Fault {
 public:
  explicit Fault(int succeeding) : before(faultsInjected) {
    allocationsBeforeFault = succeeding;
  }
  ~Fault() {
    end();
  }
  Fault(const Fault &) = delete;
  Fault &operator=(const Fault &) = delete;

  // Ends the fault early; whether an allocation failed.
  bool end() const {
    allocationsBeforeFault = -1;
    return faultsInjected != before;
  }

 private:
  int before;
};

#endif
