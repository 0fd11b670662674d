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

bool ztcore::releasesPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem) {
  const ztAvlTree *tree = map->tree;
  return tree != nullptr && isSole(map, klass) && hasOwnRelease(klass) && !isBusy(map) &&
         (tree->root == nullptr || (tree->itemManager == map && deletesOwnItems(klass, deleteItem)));
}

bool ztcore::releasesItemsPlainly() {
  return isPlainClass(ztMapItemClass_Instance(), mapItemCreate);
}

void ztcore::freeMap(ztMap *map, FreedObjects *freed) {
  freed->add(map->tree);
  freed->add(map);
}

static bool createsOwnItems() {
  return releasesItemsPlainly() && ztAvlTreeItem_table()->create == avlTreeItemCreate &&
         ztContainerItem_table()->create == containerItemCreate &&
         ztBaseClass_table()->create == method<baseCreate>;
}

bool ztcore::insertsPlainly(const ztMap *map, const ztClass *klass, DeleteItem deleteItem) {
  return hasOwnItems(map, klass) && map->itemConstructor == ztMapItem_ctor && map->tree->count < INT32_MAX &&
         deletesOwnItems(klass, deleteItem) && insertsOwnPairs(klass) && pushesOwnItems() &&
         createsOwnItems();
}

void ztcore::insertPlainly(ztMap *map, SharedBlock *block, ztMapItem *item, void *key, void *value) {
  beginPart(block, item, ztMapItemClass_Instance());
  item->data = key;
  item->value = value;
  hangPlainly(map->tree, reinterpret_cast<ztAvlTreeItem *>(item));
}

bool ztcore::popsPlainly(const ztClass *klass, DeleteItem deleteItem) {
  return deletesOwnItems(klass, deleteItem) && popsOwnPairs(klass) && popsOwnItems();
}

bool ztcore::hasOwnItems(const ztMap *map, const ztClass *klass) {
  const ztAvlTree *tree = map->tree;
  return map->klass == klass && tree != nullptr && tree->klass == ztAvlTreeClass_Instance() &&
         tree->itemManager == map && !isCalled(map);
}
