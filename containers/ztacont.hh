// The key/value form of the element policy. The item classes of the associative containers keep the
// key in `data` and the value in a field `value` of their own.
#ifndef ZT_CONTAINERS_ZTACONT_HH
#define ZT_CONTAINERS_ZTACONT_HH

#include "containers/ztacont.h"
#include "containers/ztcont.hh"
#include "containers/ztuse.hh"

inline ElementPolicy ztKeyPolicy(const void *object) {
  const auto *container = static_cast<const ztAssociativeContainer *>(object);
  return {container->keyConstructor, container->keyByPointer != 0, container->keySize};
}

inline ElementPolicy ztValuePolicy(const void *object) {
  const auto *container = static_cast<const ztAssociativeContainer *>(object);
  return {container->valueConstructor, container->valueByPointer != 0, container->valueSize};
}

// What of a stored pair its container releases: the key, or else the value; NULL when neither.
inline const void *ztOwnOfPair(const void *object, const void *key, const void *value) {
  if (ztIsOwned(ztKeyPolicy(object))) return key;
  return ztIsOwned(ztValuePolicy(object)) ? value : nullptr;
}

// Whether a pair may be gone that is copied out of a container.
inline bool ztIsPairGone(const ztKeyValue *pair) {
  return ztIsSourceGone(pair->key) || ztIsSourceGone(pair->value);
}

// A new item that holds the pair, made by the container's item constructor; NULL when that or one of
// the two copies fails, or when the container ended or the pair went meanwhile.
template <typename Item>
void *ztNewPairItem(ztAssociativeContainer &container, const void *pair) {
  if (container.itemConstructor == nullptr || pair == nullptr) return nullptr;
  const ElementPolicy keys = ztKeyPolicy(&container);
  const ElementPolicy values = ztValuePolicy(&container);
  const ContainerUse use(&container);
  auto *item = static_cast<Item *>(container.itemConstructor(nullptr, 1));
  if (item == nullptr) return nullptr;
  const auto *given = static_cast<const ztKeyValue *>(pair);
  if (!ztIsPairGone(given) && ztStoreElement(keys, given->key, &item->data)) {
    if (!ztIsPairGone(given) && ztStoreElement(values, given->value, &item->value)) {
      if (!use.ended()) return item;
      ztReleaseElement(values, &item->value);
    }
    ztReleaseElement(keys, &item->data);
  }
  ztBaseClass_of(item)->unRef(item);
  return nullptr;
}

// Stores copies of the source item's key and value in the destination item.
template <typename Item>
void *ztCopyPairItem(ztAssociativeContainer &container, void *destination, const void *source) {
  if (destination == nullptr || source == nullptr) return nullptr;
  auto *to = static_cast<Item *>(destination);
  const auto *from = static_cast<const Item *>(source);
  ztCopyElement(ztKeyPolicy(&container), from->data, &to->data);
  ztCopyElement(ztValuePolicy(&container), from->value, &to->value);
  return destination;
}

// Releases the item's key and value, then the item. The container may end with the key.
template <typename Item>
void ztDeletePairItem(ztAssociativeContainer &container, void *item) {
  if (item == nullptr) return;
  const ElementPolicy values = ztValuePolicy(&container);
  ztReleaseElement(ztKeyPolicy(&container), &static_cast<Item *>(item)->data);
  ztReleaseElement(values, &static_cast<Item *>(item)->value);
  ztBaseClass_of(item)->unRef(item);
}

#endif
