// Makes, copies and assigns objects for the library itself.
#ifndef ZT_CORE_ZTCOPY_HH
#define ZT_CORE_ZTCOPY_HH

#include "core/ztclass.h"

namespace ztcore {

// A new heap object with one reference, the caller's. NULL when memory is exhausted or its `create` fails,
// which the constructor does not report.
void *makeObject(ztCtor constructor);

template <typename Object>
Object *newObject(ztCtor constructor) {
  return static_cast<Object *>(makeObject(constructor));
}

// A new heap object of the source's own class, filled by the source's `clone`. It has one reference, the
// caller's. NULL when the source is NULL or cannot be cloned.
void *copyObject(const void *source);

// Clones the source onto an object that was constructed but not created, of at least the source's instance
// size, and sets its count to 1. NULL when `clone` fails; the target then owns nothing: do not destroy it.
void *cloneOnto(const void *source, void *target);

// Assigns between objects that may be of different classes. Calls the `assign` of their nearest common class,
// because the target's own may read fields that the source does not have; but always calls an `assign` of a
// host, which must check its argument. Returns its result, or 0 without a common class.
int32_t assignCommon(void *target, const void *source);

}  // namespace ztcore

#endif
