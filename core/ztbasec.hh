// Copies of objects that the library makes for itself.
#ifndef ZT_CORE_ZTBASEC_HH
#define ZT_CORE_ZTBASEC_HH

#include "core/ztbasec.h"

// A new heap object of the source's own class, filled by the source's `clone`. Its one reference is
// the caller's, whatever the source's count. NULL when the source is NULL or cannot be cloned.
void *ztCopyObject(const void *source);

// Clones the source onto an object that was constructed but not created, whose memory holds at least
// the source's instance size, and gives it count 1. Returns what `clone` returns: NULL when the source
// cannot be cloned; the target then owns nothing and must not be destroyed.
void *ztCloneOnto(const void *source, void *target);

#endif
