// The set-up that the typed containers of pointers share.
#ifndef ZT_CONTAINERS_ZTPOINTERS_HH
#define ZT_CONTAINERS_ZTPOINTERS_HH

#include "containers/ztscont.h"

namespace ztcore {

// Makes a new sequence container keep the caller's pointers, and compare them with the form that suits
// what the container then hands to a compare function: the pointers, or the addresses where a subclass
// keeps copies of them after all.
inline void keepPointers(void *object, ztCompareFunc compareAddresses, ztCompareFunc comparePointers) {
  ztSequenceContainer_of(object)->setElementSize(object, sizeof(void *), 1);
  const bool byPointer = static_cast<const ztSequenceContainer *>(object)->byPointer != 0;
  ztSequenceContainer_of(object)->setCompareFunction(object, byPointer ? comparePointers : compareAddresses);
}

}  // namespace ztcore

#endif
