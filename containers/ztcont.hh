// The element policy and the item manager, shared by every container that keeps its elements in items.
#ifndef ZT_CONTAINERS_ZTCONT_HH
#define ZT_CONTAINERS_ZTCONT_HH

#include "containers/ztcont.h"

namespace ztcore {

// How elements, keys or values are kept. Tested in this order: constructor, byPointer, by value.
struct ElementPolicy {
  ztCtor constructor;
  bool byPointer;
  int32_t size;  // bytes of an element kept by value
};

// Whether a container releases its elements.
inline bool isOwned(const ElementPolicy &policy) {
  return policy.constructor != nullptr || !policy.byPointer;
}

// Stores an element in the caller's form. False, with `*stored` NULL, when it cannot be copied.
bool storeElement(const ElementPolicy &policy, const void *element, void **stored);

// Copies an element that is stored already, an object by its own class. NULL stays NULL. False, with
// `*stored` NULL, when it cannot be copied.
bool copyElement(const ElementPolicy &policy, const void *source, void **stored);

// Releases a stored element and sets `*stored` to NULL.
void releaseElement(const ElementPolicy &policy, void **stored);

// What makes, copies and deletes a container's items: itself where a host has set NULL.
inline void *itemManagerOf(void *object) {
  void *manager = static_cast<ztContainer *>(object)->itemManager;
  return manager == nullptr ? object : manager;
}

// What of a stored element a sequence container releases: the element, or NULL.
const void *ownOfElement(const void *container, const void *element);

// Makes an item for a container that the caller is at work on. NULL also when the container ended meanwhile:
// it must not be touched then.
void *makeItem(void *container, const class ContainerUse &use, const void *element);

}  // namespace ztcore

#endif
