#include "containers/ztplainmap.hh"

#include "containers/ztacont.hh"
#include "containers/ztavltree.hh"
#include "containers/ztitems.hh"
#include "containers/ztown.hh"
#include "containers/ztplain.hh"
#include "containers/ztuse.hh"

using namespace ztcore;

bool ztcore::createsMapsPlainly() {
  return usesUnderWay() == nullptr && createsOwnMaps() && createsOwnTrees();
}

bool ztcore::createsPlainly(const ztClass *klass, int32_t (*create)(void *map)) {
  return static_cast<const ztMapMethods *>(klass->methodTable)->create == create && hasOwnMapSettings(klass);
}

bool ztcore::releasesMapsPlainly() {
  return ztAvlTree_table()->unRef == method<baseUnRef> && destroysOwnAssociations() && destroysOwnTrees();
}

static bool deletesOwnItems(const ztClass *klass, DeleteItem deleteItem) {
  const auto deletePair = method<deletePairItem<ztMapItem>>;
  if (deleteItem != nullptr && ztMap_table()->deleteItem != deletePair) return false;
  return static_cast<const ztMapMethods *>(klass->methodTable)->deleteItem ==
         (deleteItem == nullptr ? deletePair : deleteItem);
}

// Whether a call on a map or its tree is under way.
static bool isCalled(const ztMap *map, const ztAvlTree *tree) {
  return usesUnderWay() != nullptr && (isInUse(tree) || isInUse(map));
}

bool ztcore::releasesPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem) {
  const ztAvlTree *tree = map->tree;
  return tree != nullptr && map->klass == klass && tree->klass == ztAvlTreeClass_Instance() &&
         tree->refCount <= 2 && map->refCount <= 2 && hasOwnRelease(klass) && !isCalled(map, tree) &&
         !mayBeSubject(map) &&
         (tree->root == nullptr || (tree->itemManager == map && deletesOwnItems(klass, deleteItem)));
}

bool ztcore::endsPlainly(const ztMapItem *item) {
  return item->refCount <= 2 && item->klass == ztMapItemClass_Instance() &&
         isPlainClass(ztMapItemClass_Instance(), mapItemCreate);
}

void ztcore::freeMap(ztMap *map, FreedObjects *freed) {
  freed->add(map->tree);
  freed->add(map);
}

// The items of the map's tree are its own, and no call is under way.
static bool hasOwnItems(const ztMap *map) {
  const ztAvlTree *tree = map->tree;
  return tree != nullptr && tree->klass == ztAvlTreeClass_Instance() && tree->itemManager == map &&
         !isCalled(map, tree);
}

static bool createsOwnItems() {
  return isPlainClass(ztMapItemClass_Instance(), mapItemCreate) &&
         ztAvlTreeItem_table()->create == avlTreeItemCreate &&
         ztContainerItem_table()->create == containerItemCreate &&
         ztBaseClass_table()->create == method<baseCreate>;
}

bool ztcore::insertsPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem) {
  return map->klass == klass && hasOwnItems(map) && map->itemConstructor == ztMapItem_ctor &&
         map->tree->count < INT32_MAX && deletesOwnItems(klass, deleteItem) && insertsOwnPairs(klass) &&
         pushesOwnItems() && createsOwnItems();
}

bool ztcore::popsPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem) {
  return map->klass == klass && hasOwnItems(map) && deletesOwnItems(klass, deleteItem) &&
         popsOwnPairs(klass) && popsOwnItems();
}
