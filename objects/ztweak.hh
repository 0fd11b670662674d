// The pointers of hosts that watch objects.
#ifndef ZT_OBJECTS_ZTWEAK_HH
#define ZT_OBJECTS_ZTWEAK_HH

#include "objects/ztobject.h"

namespace ztcore {

// Ends all watches of an object with the flag objectWatched: its pointers become NULL.
[[gnu::cold, gnu::noinline]] void endWatches(ztObject *object);

}  // namespace ztcore

#endif
