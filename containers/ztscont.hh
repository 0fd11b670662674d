// The element policy and the plain items of sequence containers.
#ifndef ZT_CONTAINERS_ZTSCONT_HH
#define ZT_CONTAINERS_ZTSCONT_HH

#include "containers/ztplain.hh"
#include "containers/ztscont.h"

namespace ztcore {

template <typename Container>
inline ElementPolicy policyOf(const Container &container) {
  return {container.elementConstructor, container.byPointer != 0, container.elementSize};
}

// Two methods of every sequence container. A comparison with a slot tells whether a class overrides them.
void *sequenceNewItem(ztSequenceContainer &container, const void *element);
void sequenceDeleteItem(ztSequenceContainer &container, void *item);

// Whether a container makes its items itself, with this constructor, and its elements are not objects.
template <typename Container>
inline bool hasPlainItems(const Container &container, ztCtor constructor) {
  return container.itemManager == &container && container.elementConstructor == nullptr &&
         makesItemsBy<sequenceNewItem, sequenceDeleteItem>(container, constructor);
}

// A plain item that holds the element; the caller sets the links. NULL for an element that cannot be stored, and
// when memory is exhausted.
template <typename Item, typename Container>
inline Item *makePlainItem(const Container &container, ztCtor constructor, const void *element) {
  auto *item = newPlainItem<Item>(constructor);
  if (item == nullptr || storePlain(policyOf(container), element, &item->data)) return item;
  ztm_free(item);
  return nullptr;
}

}  // namespace ztcore

#endif
