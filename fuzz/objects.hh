// What the targets do with objects of any class.
#ifndef ZT_FUZZ_OBJECTS_HH
#define ZT_FUZZ_OBJECTS_HH

#include "core/ztbasec.h"
#include "core/ztmem.h"

inline void unRef(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// A copy that is the caller's alone; NULL when there is none.
inline void *newCopy(const void *object) {
  void *fresh = static_cast<const ztClassFunctions *>(ztOOP_classOf(object)->classTable)->newop();
  if (fresh == nullptr) return nullptr;
  auto *copy = static_cast<ztBaseClass *>(ztBaseClass_of(object)->clone(object, fresh));
  if (copy == nullptr) {
    ztm_free(fresh);
    return nullptr;
  }
  copy->refCount = 1;
  return copy;
}

#endif
