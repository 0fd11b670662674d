// The element policy for pairs. An item holds the key in `data` and the value in its field `value`.
#ifndef ZT_CONTAINERS_ZTACONT_HH
#define ZT_CONTAINERS_ZTACONT_HH

#include "containers/ztacont.h"
#include "containers/ztcont.hh"
#include "containers/ztplain.hh"

namespace ztcore {

inline ElementPolicy keyPolicy(const void *object) {
  const auto *container = static_cast<const ztAssociativeContainer *>(object);
  return {container->keyConstructor, container->keyByPointer != 0, container->keySize};
}

inline ElementPolicy valuePolicy(const void *object) {
  const auto *container = static_cast<const ztAssociativeContainer *>(object);
  return {container->valueConstructor, container->valueByPointer != 0, container->valueSize};
}

// The part of a stored pair that its container releases: the key, or else the value; NULL for neither.
inline const void *ownOfPair(const void *object, const void *key, const void *value) {
  if (isOwned(keyPolicy(object))) return key;
  return isOwned(valuePolicy(object)) ? value : nullptr;
}

// Whether a pair that is being copied out of a container may be gone.
inline bool isPairGone(const ztKeyValue *pair) {
  return isSourceGone(pair->key) || isSourceGone(pair->value);
}

// Makes an item for the pair with the container's item constructor. NULL when that or a copy fails, and when
// the container was destroyed or the pair removed meanwhile.
template <typename Item>
void *newPairItem(ztAssociativeContainer &container, const void *pair) {
  if (container.itemConstructor == nullptr || pair == nullptr) return nullptr;
  const ElementPolicy keys = keyPolicy(&container);
  const ElementPolicy values = valuePolicy(&container);
  const ContainerUse use(&container);
  auto *item = static_cast<Item *>(container.itemConstructor(nullptr, 1));
  if (item == nullptr) return nullptr;
  const auto *given = static_cast<const ztKeyValue *>(pair);
  if (!isPairGone(given) && storeElement(keys, given->key, &item->data)) {
    if (!isPairGone(given) && storeElement(values, given->value, &item->value)) {
      if (!use.ended()) return item;
      releaseElement(values, &item->value);
    }
    releaseElement(keys, &item->data);
  }
  ztBaseClass_of(item)->unRef(item);
  return nullptr;
}

// Stores copies of the source item's key and value in the destination item.
template <typename Item>
void *copyPairItem(ztAssociativeContainer &container, void *destination, const void *source) {
  if (destination == nullptr || source == nullptr) return nullptr;
  auto *to = static_cast<Item *>(destination);
  const auto *from = static_cast<const Item *>(source);
  copyElement(keyPolicy(&container), from->data, &to->data);
  copyElement(valuePolicy(&container), from->value, &to->value);
  return destination;
}

// Releases the item's key and value, then the item. Releasing the key may destroy the container.
template <typename Item>
void deletePairItem(ztAssociativeContainer &container, void *item) {
  if (item == nullptr) return;
  const ElementPolicy values = valuePolicy(&container);
  releaseElement(keyPolicy(&container), &static_cast<Item *>(item)->data);
  releaseElement(values, &static_cast<Item *>(item)->value);
  ztBaseClass_of(item)->unRef(item);
}

// Whether a container makes its items with these functions, and neither keys nor values are objects.
template <typename Item, auto newItem = newPairItem<Item>, typename Container>
inline bool hasPlainPairs(const Container &container, ztCtor constructor) {
  return container.keyConstructor == nullptr && container.valueConstructor == nullptr &&
         makesItemsBy<newItem, deletePairItem<Item>>(container, constructor);
}

// A plain item that holds the pair; the caller sets the links. NULL for a pair that cannot be stored, and when
// memory is exhausted.
template <typename Item, typename Container>
inline Item *makePlainPair(const Container &container, ztCtor constructor, const void *key,
                           const void *value) {
  auto *item = newPlainItem<Item>(constructor);
  if (item == nullptr) return nullptr;
  const ElementPolicy keys = keyPolicy(&container);
  if (storePlain(keys, key, &item->data)) {
    if (storePlain(valuePolicy(&container), value, &item->value)) return item;
    releasePlain(keys, item->data);
  }
  ztm_free(item);
  return nullptr;
}

// Releases what such an item holds.
template <typename Item, typename Container>
inline void releasePlainPair(const Container &container, const Item *item) {
  releasePlain(keyPolicy(&container), item->data);
  releasePlain(valuePolicy(&container), item->value);
}

}  // namespace ztcore

#endif
