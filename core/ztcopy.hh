// The objects that the library makes for itself, copies and assigns.
#ifndef ZT_CORE_ZTCOPY_HH
#define ZT_CORE_ZTCOPY_HH

#include "core/ztclass.h"

namespace ztcore {

// A new heap object whose `create` succeeded, which the constructor itself does not tell. Its one reference
// is the caller's. NULL when memory is exhausted.
void *makeObject(ztCtor constructor);

template <typename Object>
Object *newObject(ztCtor constructor) {
  return static_cast<Object *>(makeObject(constructor));
}

// A new heap object of the source's own class, filled by the source's `clone`. Its one reference is
// the caller's, whatever the source's count. NULL when the source is NULL or cannot be cloned.
void *copyObject(const void *source);

// Clones the source onto an object that was constructed but not created, whose memory holds at least
// the source's instance size, and gives it count 1. Returns what `clone` returns: NULL when the source
// cannot be cloned; the target then owns nothing and must not be destroyed.
void *cloneOnto(const void *source, void *target);

// Has an object take over the contents of another one that may be of another class: with the `assign` of
// the nearest class that both are of, since the target's own may look at what the other does not have. A
// host's own `assign` is called whatever the other is, and is to look at it. The result of that, or 0 where
// there is no such class.
int32_t assignCommon(void *target, const void *source);

}  // namespace ztcore

#endif
