// Items that are made and deleted in one step. The steps between are functions of item managers, item classes
// and element classes, and a program sees them where one of these is its own. Where all of them are the
// library's, nothing of a program's runs, and no call has to be recorded.
#ifndef ZT_CONTAINERS_ZTPLAIN_HH
#define ZT_CONTAINERS_ZTPLAIN_HH

#include "containers/ztcitem.h"
#include "containers/ztcont.hh"
#include "containers/ztuse.hh"
#include "core/ztbasec.hh"
#include "core/ztcheck.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"

#include <string.h>

namespace ztcore {

// Whether objects of a class are made by this `create`, and released by the root class alone. Programs may put
// functions of their own into the table of a class of the library's.
inline bool isPlainClass(const ztClass *klass, int32_t (*create)(void *)) {
  const auto *methods = static_cast<const ztBaseClassMethods *>(klass->methodTable);
  return methods->create == create && methods->destroy == baseDestroy && methods->unRef == method<baseUnRef>;
}

// Whether a container makes items by these functions, and no call is under way on any container.
template <auto newItem, auto deleteItem, typename Container>
inline bool makesItemsBy(const Container &container, ztCtor itemConstructor) {
  const auto *methods = static_cast<const ztContainerMethods *>(container.klass->methodTable);
  return container.itemConstructor == itemConstructor && methods->newItem == method<newItem> &&
         methods->deleteItem == method<deleteItem> && usesUnderWay() == nullptr && !checksThreads;
}

inline bool isPlainPolicy(const ElementPolicy &policy) {
  return policy.constructor == nullptr;
}

// As storeElement, for a plain policy.
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

// A new item of a plain class, with nothing in it but its class and its count; the caller fills it.
template <typename Item>
inline Item *newPlainItem(ztCtor constructor) {
  return static_cast<Item *>(constructor(nullptr, 0));
}

// Whether the next release ends an item of that plain class.
template <typename Item>
inline bool endsPlain(const Item *item, const ztClass *klass) {
  return item->klass == klass && item->refCount <= 2;
}

}  // namespace ztcore

#endif
