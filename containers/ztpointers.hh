#ifndef ZT_CONTAINERS_ZTPOINTERS_HH
#define ZT_CONTAINERS_ZTPOINTERS_HH

#include "containers/ztscont.h"

namespace ztcore {

// Makes a new sequence container store the caller's pointers, and sets the compare function for the form that
// the container passes: the pointers, or their addresses if a subclass stores copies of them.
inline void keepPointers(void *object, ztCompareFunc compareAddresses, ztCompareFunc comparePointers) {
  ztSequenceContainer_of(object)->setElementSize(object, sizeof(void *), 1);
  const bool byPointer = static_cast<const ztSequenceContainer *>(object)->byPointer != 0;
  ztSequenceContainer_of(object)->setCompareFunction(object, byPointer ? comparePointers : compareAddresses);
}

}  // namespace ztcore

#endif
