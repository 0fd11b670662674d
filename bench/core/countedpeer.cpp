// Apart from the benchmarks, so that the compiler cannot see through a virtual call.
#include "bench/core/countedpeer.hh"

CountedPeer::CountedPeer() : refCount(1) {}

CountedPeer::~CountedPeer() = default;

int32_t CountedPeer::create() {
  return 1;
}

void CountedPeer::unRef() {
  if (--refCount <= 1) delete this;
}

int32_t CountedPeer::getRefCount() const {
  return refCount;
}
