// The element policy and the item manager of containers with items.
#ifndef ZT_CONTAINERS_ZTCONT_HH
#define ZT_CONTAINERS_ZTCONT_HH

#include "containers/ztcont.h"

namespace ztcore {

// How elements, keys or values are stored. Tested in this order: constructor, byPointer, by value.
struct ElementPolicy {
  ztCtor constructor;
  bool byPointer;
  int32_t size;  // bytes of an element stored by value
};

// Whether a container releases its elements.
inline bool isOwned(const ElementPolicy &policy) {
  return policy.constructor != nullptr || !policy.byPointer;
}

// Stores an element in the caller's form. False, with `*stored` NULL, on failure.
bool storeElement(const ElementPolicy &policy, const void *element, void **stored);

// Copies a stored element, an object by its own class. NULL stays NULL. False, with `*stored` NULL, on failure.
bool copyElement(const ElementPolicy &policy, const void *source, void **stored);

// Releases a stored element and sets `*stored` to NULL.
void releaseElement(const ElementPolicy &policy, void **stored);

// The item manager of a container: itself if a host has set NULL.
inline void *itemManagerOf(void *object) {
  void *manager = static_cast<ztContainer *>(object)->itemManager;
  return manager == nullptr ? object : manager;
}

// The part of a stored element that a sequence container releases: the element, or NULL.
const void *ownOfElement(const void *container, const void *element);

// Makes an item for a container during a call on it. NULL also when the container was destroyed.
void *makeItem(void *container, const class ContainerUse &use, const void *element);

}  // namespace ztcore

#endif
