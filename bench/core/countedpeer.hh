// What an object of the engine is measured against: a C++ object with virtual functions.
#ifndef ZT_BENCH_CORE_COUNTEDPEER_HH
#define ZT_BENCH_CORE_COUNTEDPEER_HH

#include <stdint.h>

class CountedPeer {
 public:
  CountedPeer();
  virtual ~CountedPeer();
  virtual int32_t create();
  virtual void unRef();
  virtual int32_t getRefCount() const;

 private:
  int32_t refCount;
};

#endif
