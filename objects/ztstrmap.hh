// What the maps that are keyed by name have in common.
#ifndef ZT_OBJECTS_ZTSTRMAP_HH
#define ZT_OBJECTS_ZTSTRMAP_HH

#include "containers/ztavltree.h"
#include "containers/ztmap.h"
#include "io/ztstring.hh"

namespace ztcore {

// Has the map keep its keys as strings of its own.
inline void keyByString(void *map, ztCompareFunc compare) {
  const ztMapMethods *methods = ztMap_of(map);
  methods->setKeyConstructor(map, ztString_ctor);
  methods->setKeySize(map, sizeof(ztString), 0);
  methods->setCompareFunction(map, compare);
}

// Most maps of an object stay empty, and most look-ups meet such a one.
inline bool isEmptyMap(const void *map) {
  const ztAvlTree *tree = static_cast<const ztMap *>(map)->tree;
  return tree == nullptr || tree->root == nullptr;
}

inline int32_t sizeOfMap(const void *map) {
  return map == nullptr ? 0 : ztMap_of(map)->getSize(map);
}

// The stored value under a name; NULL when there is none, or no map.
inline void *findByName(const void *map, const char *name) {
  if (map == nullptr || name == nullptr || isEmptyMap(map)) return nullptr;
  BorrowedText key(name);
  return ztMap_of(map)->findValue(map, key.get());
}

// Inserts copies of the key and the value; the result is that of insertByName.
inline void *insertByKey(void *map, const CopyableText &key, const void *value) {
  const auto *item = static_cast<const ztMapItem *>(ztMap_of(map)->pushBack(map, key.get(), value));
  return item == nullptr ? nullptr : item->value;
}

// Inserts copies of the name and the value. The stored value; NULL when the name is there already or
// memory is exhausted.
inline void *insertByName(void *map, const char *name, const void *value) {
  if (map == nullptr) return nullptr;
  return insertByKey(map, CopyableText(name), value);
}

}  // namespace ztcore

#endif
