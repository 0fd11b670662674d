// Blocks of memory that several objects share. An object with parts allocates them in one block. Each of them still
// behaves like any other object: it may be referenced, released and outlive the others. The last one frees the
// block.
//
// The classes whose objects may be such parts have four unused bytes behind the reference count. They hold the
// distance from the block, or 0 for an object with a block of its own.
#ifndef ZT_CORE_ZTSHARED_HH
#define ZT_CORE_ZTSHARED_HH

#include "core/ztbasec.h"
#include "core/ztcalls.hh"
#include "core/ztmem.h"

namespace ztcore {

// The beginning of a shared block. Its objects follow.
struct alignas(16) SharedBlock {
  uint32_t living;  // the number of its objects
};

// The beginning of an object that may be a part.
struct ZT_MAY_ALIAS PartHeader {
  ztBaseClass_FIELDS
  uint32_t distance;
};

static_assert(sizeof(PartHeader) == sizeof(ztBaseClass));

// Whether objects of exactly this class may be parts.
bool mayBePart(const ztClass *klass);

// Makes an object, which was constructed in the block, a part of it.
inline void addToBlock(SharedBlock *block, void *object) {
  const auto distance = reinterpret_cast<uintptr_t>(object) - reinterpret_cast<uintptr_t>(block);
  static_cast<PartHeader *>(object)->distance = static_cast<uint32_t>(distance);
  ++block->living;
}

// Makes the header of a part. Its class must be registered.
inline void beginPart(SharedBlock *block, void *object, ztClass *klass) {
  objectMade(object);
  auto *header = static_cast<PartHeader *>(object);
  header->klass = klass;
  header->refCount = 1;
  addToBlock(block, object);
}

// For an object that was not made as a part: it was constructed, or its bytes copied from another object.
inline void ownBlock(void *object) {
  static_cast<PartHeader *>(object)->distance = 0;
}

// No part is further from its block.
constexpr uint32_t furthestPart = 1024;

// The block of an object of such a class; NULL when it has a block of its own. An object that was never created in
// the memory of a host may have any distance, mostly one that is no part's.
inline SharedBlock *blockOf(void *object) {
  const uint32_t distance = static_cast<const PartHeader *>(object)->distance;
  if (distance - 1 >= furthestPart) return nullptr;
  return reinterpret_cast<SharedBlock *>(static_cast<char *>(object) - distance);
}

// Takes destroyed objects out of their block, and frees it after the last one. Its objects may be released by
// different threads: while there are no others, none can.
inline void leaveBlock(SharedBlock *block, uint32_t count) {
  if (__atomic_load_n(&block->living, __ATOMIC_ACQUIRE) == count ||
      __atomic_sub_fetch(&block->living, count, __ATOMIC_ACQ_REL) == 0)
    ztm_free(block);
}

// Frees the memory of a destroyed object of such a class, or its part of a shared block.
inline void freePart(void *object) {
  SharedBlock *block = blockOf(object);
  if (block == nullptr) {
    ztm_free(object);
  } else {
    leaveBlock(block, 1);
  }
}

// The same for an object of any class.
void freeObject(void *object);

// The same for one that owns nothing: its class has the `destroy` of the root class.
void freeSimple(void *object);

// Frees the memory of several destroyed objects of such classes. Those of one block leave it together.
class FreedObjects {
 public:
  FreedObjects() = default;
  ~FreedObjects() {
    if (block != nullptr) leaveBlock(block, count);
  }
  FreedObjects(const FreedObjects &) = delete;
  FreedObjects &operator=(const FreedObjects &) = delete;

  void add(void *object) {
    SharedBlock *its = blockOf(object);
    if (its == nullptr) return ztm_free(object);
    if (its != block) {
      if (block != nullptr) leaveBlock(block, count);
      block = its;
      count = 0;
    }
    ++count;
  }

 private:
  SharedBlock *block = nullptr;
  uint32_t count = 0;
};

}  // namespace ztcore

#endif
