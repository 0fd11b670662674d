// What sequence containers have in common: how they keep their elements, and how they make their items.
#ifndef ZT_CONTAINERS_ZTSCONT_HH
#define ZT_CONTAINERS_ZTSCONT_HH

#include "containers/ztplain.hh"
#include "containers/ztscont.h"

namespace ztcore {

template <typename Container>
inline ElementPolicy policyOf(const Container &container) {
  return {container.elementConstructor, container.byPointer != 0, container.elementSize};
}

// Two methods of every sequence container, for comparison with what is in a slot.
void *sequenceNewItem(ztSequenceContainer &container, const void *element);
void sequenceDeleteItem(ztSequenceContainer &container, void *item);

// Whether a container makes its items by this constructor, and no element is an object.
template <typename Container>
inline bool hasPlainItems(const Container &container, ztCtor constructor) {
  return container.itemManager == &container && container.elementConstructor == nullptr &&
         makesItemsBy<sequenceNewItem, sequenceDeleteItem>(container, constructor);
}

// A plain item that holds the element; its other fields are the caller's to fill. NULL without memory.
template <typename Item, typename Container>
inline Item *makePlainItem(const Container &container, ztCtor constructor, const void *element) {
  auto *item = newPlainItem<Item>(constructor);
  if (item == nullptr || storePlain(policyOf(container), element, &item->data)) return item;
  ztm_free(item);
  return nullptr;
}

}  // namespace ztcore

#endif
