// Plain items: they are made and deleted in one step. Otherwise the item manager, the item class and the class
// of the elements are called step by step. If all three are the library's own, no function of a host runs, so
// nobody sees the difference and no call needs a record.
#ifndef ZT_CONTAINERS_ZTPLAIN_HH
#define ZT_CONTAINERS_ZTPLAIN_HH

#include "containers/ztcitem.h"
#include "containers/ztcont.hh"
#include "containers/ztuse.hh"
#include "core/ztbasec.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"

#include <string.h>

namespace ztcore {

// Whether objects of a class are created by this function and released by the root class. A host may put its own
// functions into the table of a library class.
inline bool isPlainClass(const ztClass *klass, int32_t (*create)(void *)) {
  const auto *methods = static_cast<const ztBaseClassMethods *>(klass->methodTable);
  return methods->create == create && methods->destroy == baseDestroy && methods->unRef == method<baseUnRef>;
}

// Whether a container makes and deletes items with these functions, and no call on any container is under way.
template <auto newItem, auto deleteItem, typename Container>
inline bool makesItemsBy(const Container &container, ztCtor itemConstructor) {
  const auto *methods = static_cast<const ztContainerMethods *>(container.klass->methodTable);
  return container.itemConstructor == itemConstructor && methods->newItem == method<newItem> &&
         methods->deleteItem == method<deleteItem> && usesUnderWay() == nullptr;
}

// Like storeElement, for a policy without a constructor.
inline bool storePlain(const ElementPolicy &policy, const void *element, void **stored) {
  if (policy.byPointer) {
    *stored = const_cast<void *>(element);
    return true;
  }
  *stored = nullptr;
  if (policy.size < 0 || (element == nullptr && policy.size != 0)) return false;
  void *copy = ztm_alloc(policy.size);
  if (copy == nullptr) return false;
  *stored = copy;
  if (policy.size == sizeof(int32_t)) {
    memcpy(copy, element, sizeof(int32_t));
  } else if (policy.size != 0) {
    memcpy(copy, element, static_cast<size_t>(policy.size));
  }
  return true;
}

inline void releasePlain(const ElementPolicy &policy, void *stored) {
  if (!policy.byPointer) ztm_free(stored);
}

// A new item of a plain class. Only its class and its count are set; the caller sets the other fields.
template <typename Item>
inline Item *newPlainItem(ztCtor constructor) {
  return static_cast<Item *>(constructor(nullptr, 0));
}

// Whether an item is of this plain class, and its next release frees it.
template <typename Item>
inline bool endsPlain(const Item *item, const ztClass *klass) {
  return item->klass == klass && item->refCount <= 2;
}

}  // namespace ztcore

#endif
