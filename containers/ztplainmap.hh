// Creation, release, adding and removing a pair, taken at once for maps of the library's classes where no host can
// see the difference.
#ifndef ZT_CONTAINERS_ZTPLAINMAP_HH
#define ZT_CONTAINERS_ZTPLAINMAP_HH

#include "containers/ztavltree.hh"
#include "containers/ztmap.h"
#include "containers/ztplain.hh"
#include "core/ztshared.hh"

namespace ztcore {

// A map and its tree in a shared block. New ones are copied from an image: a map that was created step by step.
template <typename Map>
struct MapWithTree {
  Map map;
  ztAvlTree tree;

  // Makes this an image of a new map, in the image of a block.
  void take(SharedBlock *block, const Map &made) {
    map = made;
    tree = *made.tree;
    addToBlock(block, &map);
    addToBlock(block, &tree);
  }

  // Makes this a new map.
  void copy(const MapWithTree &image) {
    map = image.map;
    tree = image.tree;
    map.itemManager = &map;
    map.tree = &tree;
    tree.itemManager = &map;
  }
};

// Whether creation calls only functions of the library: what all maps have in common, and what stands in the table of
// a class whose `create` in the library is the given one. False before the first object of the class.
bool createsMapsPlainly();
bool createsPlainly(const ztClass *klass, int32_t (*create)(void *map));

// How a class of maps deletes its items: the library's `deleteItem`. NULL for that of all maps.
using DeleteItem = void (*)(void *map, void *item);

// Whether the release of a map calls only functions of the library, besides those that release its keys and values:
// what all maps have in common, and the map without its items, if it is of exactly this class.
bool releasesMapsPlainly();
bool releasesPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem = nullptr);

// Whether the next release of an item frees it.
bool endsPlainly(const ztMapItem *item);

// Runs isPlain(item) for the items of a tree, until one is false.
template <typename IsPlain>
bool arePlain(const ztAvlTreeItem *item, IsPlain isPlain) {
  for (; item != nullptr; item = item->right) {
    const auto *pair = reinterpret_cast<const ztMapItem *>(item);
    if (!endsPlainly(pair) || !isPlain(pair) || !arePlain(item->left, isPlain)) return false;
  }
  return true;
}

// Frees the items of a tree, after freePair(item) for each.
template <typename FreePair>
void freeItems(ztAvlTreeItem *item, FreePair freePair) {
  while (item != nullptr) {
    ztAvlTreeItem *right = item->right;
    freeItems(item->left, freePair);
    freePair(reinterpret_cast<ztMapItem *>(item));
    ztm_free(item);
    item = right;
  }
}

// Frees such a map and its tree. Its items are gone.
void freeMap(ztMap *map, FreedObjects *freed);

// Whether adding a pair to a map of exactly this class, or removing one, calls only functions of the library, besides
// those that copy and release the key and the value.
bool insertsPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem = nullptr);
bool popsPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem = nullptr);

// Adds a pair to such a map, before those with an equal key. Its key and value are the map's from now on. NULL when
// memory is exhausted.
inline ztMapItem *insertPlainly(ztMap *map, void *key, void *value) {
  auto *item = newPlainItem<ztMapItem>(ztMapItem_ctor);
  if (item == nullptr) return nullptr;
  item->data = key;
  item->value = value;
  hangPlainly(map->tree, reinterpret_cast<ztAvlTreeItem *>(item));
  return item;
}

}  // namespace ztcore

#endif
