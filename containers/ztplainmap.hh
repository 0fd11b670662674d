// Creation, release, adding and removing a pair, taken at once for maps of the library's classes where no host can
// see the difference.
#ifndef ZT_CONTAINERS_ZTPLAINMAP_HH
#define ZT_CONTAINERS_ZTPLAINMAP_HH

#include "containers/ztavltree.hh"
#include "containers/ztmap.h"
#include "containers/ztplain.hh"
#include "containers/ztuse.hh"
#include "core/ztcalls.hh"
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

// Whether a map with a tree is of exactly this class, its tree is of the library's, and both have no further
// references.
inline bool isSole(const ztMap *map, const ztClass *klass) {
  const ztAvlTree *tree = map->tree;
  return map->klass == klass && tree->klass == ztAvlTreeClass_Instance() && tree->refCount <= 2 &&
         map->refCount <= 2;
}

// Whether a call on a map or its tree is under way.
inline bool isCalled(const ztMap *map) {
  const UseTable *uses = usesUnderWay();
  return uses != nullptr && (isUsed(uses, map->tree) || isUsed(uses, map));
}

// The same, or the map's release.
inline bool isBusy(const ztMap *map) {
  return isCalled(map) || mayBeSubject(map);
}

// Whether the release of items calls only functions of the library.
bool releasesItemsPlainly();

// Whether the next release of an item frees it, if so.
inline bool endsPlainly(const ztMapItem *item) {
  return item->klass == ztMapItemClass_Instance() && item->refCount <= 2;
}

// Runs holds(item) for the items of a tree, in order, until one is false.
template <typename Holds>
bool holdsForAll(const ztAvlTreeItem *item, Holds holds) {
  for (; item != nullptr; item = item->right) {
    if (!holdsForAll(item->left, holds) || !holds(reinterpret_cast<const ztMapItem *>(item))) return false;
  }
  return true;
}

// Frees the items of a tree, after freePair(item) for each.
template <typename FreePair>
void freeItems(ztAvlTreeItem *item, FreedObjects *freed, FreePair freePair) {
  while (item != nullptr) {
    ztAvlTreeItem *right = item->right;
    freeItems(item->left, freed, freePair);
    freePair(reinterpret_cast<ztMapItem *>(item));
    freed->add(item);
    item = right;
  }
}

// Frees such a map and its tree. Its items are gone.
void freeMap(ztMap *map, FreedObjects *freed);

// Whether a map is of exactly this class, the items of its tree are its own, and no call is under way.
bool hasOwnItems(const ztMap *map, const ztClass *klass);

// Whether adding a pair to a map of exactly this class, or removing one from a map that has its own items, calls only
// functions of the library, besides those that copy and release the key and the value.
bool insertsPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem = nullptr);
bool popsPlainly(const ztClass *klass, DeleteItem deleteItem = nullptr);

// Adds a pair to such a map, before those with an equal key, with an item in a shared block. Its key and value are
// the map's from now on.
void insertPlainly(ztMap *map, SharedBlock *block, ztMapItem *item, void *key, void *value);

}  // namespace ztcore

#endif
