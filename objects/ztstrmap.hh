// Functions for maps with names as keys.
#ifndef ZT_OBJECTS_ZTSTRMAP_HH
#define ZT_OBJECTS_ZTSTRMAP_HH

#include "containers/ztavltree.h"
#include "containers/ztmap.h"
#include "io/ztstring.hh"

namespace ztcore {

// Makes the map copy its keys as strings.
inline void keyByString(void *map, ztCompareFunc compare) {
  const ztMapMethods *methods = ztMap_of(map);
  methods->setKeyConstructor(map, ztString_ctor);
  methods->setKeySize(map, sizeof(ztString), 0);
  methods->setCompareFunction(map, compare);
}

// Most maps of an object are empty, and most lookups are in empty maps.
inline bool isEmptyMap(const void *map) {
  const ztAvlTree *tree = static_cast<const ztMap *>(map)->tree;
  return tree == nullptr || tree->root == nullptr;
}

inline int32_t sizeOfMap(const void *map) {
  return map == nullptr ? 0 : ztMap_of(map)->getSize(map);
}

// The stored value of a name in a map that is not empty, or NULL. `compare` is the library's compare function of the
// map's class.
void *findInMap(const ztMap &map, ztCompareFunc compare, const char *name);

// The stored value of a name; NULL when there is none, or for a NULL map.
inline void *findByName(const void *map, ztCompareFunc compare, const char *name) {
  if (map == nullptr || name == nullptr || isEmptyMap(map)) return nullptr;
  return findInMap(*static_cast<const ztMap *>(map), compare, name);
}

// Inserts copies of the key and the value; returns what insertByName returns.
inline void *insertByKey(void *map, const CopyableText &key, const void *value) {
  const auto *item = static_cast<const ztMapItem *>(ztMap_of(map)->pushBack(map, key.get(), value));
  return item == nullptr ? nullptr : item->value;
}

// Inserts copies of the name and the value. Returns the stored value; NULL if the name exists, or on failure.
inline void *insertByName(void *map, const char *name, const void *value) {
  if (map == nullptr) return nullptr;
  return insertByKey(map, CopyableText(name), value);
}

}  // namespace ztcore

#endif
