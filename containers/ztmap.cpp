#include "containers/ztmap.h"

#include "containers/ztacont.hh"
#include "containers/ztavltree.hh"
#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztrelease.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztMap, 96, 35);

// The tree of a map for the search of a key; NULL when that is impossible. NULL is a valid key for pointers.
static ztAvlTree *treeForKey(const ztMap &map, const void *key) {
  const ElementPolicy keys = keyPolicy(&map);
  if (key == nullptr && (keys.constructor != nullptr || !keys.byPointer)) return nullptr;
  return map.tree;
}

// Settings ----------------------------------------------------------------------------------------

static void mapSetCompareFunction(ztMap &map, ztCompareFunc compare) {
  ztAssociativeContainer_table()->setCompareFunction(&map, compare);
  if (map.tree != nullptr) ztAvlTree_of(map.tree)->setCompareFunction(map.tree, compare);
}

static void mapSetAllowDuplicate(ztMap &map, uint32_t allow) {
  ztAssociativeContainer_table()->setAllowDuplicate(&map, allow);
  if (map.tree != nullptr) ztAvlTree_of(map.tree)->setAllowDuplicate(map.tree, allow);
}

// Pairs -------------------------------------------------------------------------------------------

static ztMapItem *mapPushBack(ztMap &map, const void *key, const void *value) {
  if (map.tree == nullptr) return nullptr;
  const ztKeyValue pair = {key, value};
  return reinterpret_cast<ztMapItem *>(ztAvlTree_of(map.tree)->push(map.tree, &pair));
}

static int32_t mapPop(ztMap &map, const void *key) {
  if (map.tree == nullptr) return 0;
  // An empty tree returns 1 for every key.
  if (map.tree->root != nullptr && treeForKey(map, key) == nullptr) return 0;
  return ztAvlTree_of(map.tree)->pop(map.tree, key);
}

static void mapEmpty(ztMap &map) {
  if (map.tree != nullptr) ztAvlTree_of(map.tree)->empty(map.tree);
}

static ztMapItem *mapFind(const ztMap &map, const void *key) {
  const ztAvlTree *tree = treeForKey(map, key);
  if (tree == nullptr) return nullptr;
  return reinterpret_cast<ztMapItem *>(ztAvlTree_of(tree)->find(tree, key));
}

static void *mapFindValue(const ztMap &map, const void *key) {
  const ztMapItem *item = mapFind(map, key);
  return item == nullptr ? nullptr : item->value;
}

static int32_t mapFindAll(const ztMap &map, const void *key, void *output) {
  if (!map.allowDuplicate || !ztOOP_isClassOf(output, ztMap_classname_)) return 0;
  const ztAvlTree *tree = treeForKey(map, key);
  if (tree == nullptr || (tree->root != nullptr && tree->compareFunction == nullptr)) return 0;
  // Collected first, because the output may be the map that is searched.
  EqualItems found;
  collectEqual(tree, key, &found);
  const ztMapMethods *methods = ztMap_of(output);
  methods->setAllowDuplicate(output, 1);
  ContainerUse source(tree);
  const ContainerUse target(output);
  for (int i = 0; i < found.count; ++i) {
    const auto *item = reinterpret_cast<const ztMapItem *>(found.items[i]);
    source.setSource(ownOfPair(&map, item->data, item->value));
    methods->pushBack(output, item->data, item->value);
    if (target.ended()) return 0;
    // If copying a pair removes others, the found ones may be gone.
    if (source.ended() || source.removed()) break;
  }
  return methods->getSize(output);
}

static int32_t mapGetSize(const ztMap &map) {
  return map.tree == nullptr ? 0 : static_cast<int32_t>(map.tree->count);
}

// Life --------------------------------------------------------------------------------------------

static int32_t mapCreate(ztMap &map) {
  map.tree = nullptr;
  if (!ztAssociativeContainer_table()->create(&map)) return 0;
  map.tree = newObject<ztAvlTree>(ztAvlTree_ctor);
  if (map.tree == nullptr) return 0;
  ztMap_of(&map)->setItemConstructor(&map, ztMapItem_ctor);
  ztAvlTree_of(map.tree)->setItemManager(map.tree, &map);
  return 1;
}

static void mapDestroy(ztMap &map) {
  // An element that is destroyed may make a new tree.
  while (map.tree != nullptr) releasePart(map.tree);
  ztAssociativeContainer_table()->destroy(&map);
}

// Makes the copy's own tree, with copies of the source's pairs.
static bool copyTree(const ztAvlTree *source, ztMap *copy) {
  copy->tree = static_cast<ztAvlTree *>(copyObject(source));
  if (copy->tree == nullptr) return false;
  ztAvlTree_of(copy->tree)->setItemManager(copy->tree, copy);
  ztKeyValue pair;
  const auto pairOf = [&pair](const ztAvlTreeItem *item) -> const void * {
    pair = {item->data, reinterpret_cast<const ztMapItem *>(item)->value};
    return &pair;
  };
  const auto ownOf = [copy](const ztAvlTreeItem *item) {
    return ownOfPair(copy, item->data, reinterpret_cast<const ztMapItem *>(item)->value);
  };
  return pushAll(source, copy->tree, pairOf, ownOf);
}

static void *mapClone(const void *object, void *target) {
  auto *copy = static_cast<ztMap *>(ztAssociativeContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->tree = nullptr;
  const ztAvlTree *tree = static_cast<const ztMap *>(object)->tree;
  if (tree == nullptr || copyTree(tree, copy)) return copy;
  ztMap_table()->destroy(copy);
  return nullptr;
}

bool ztcore::createsOwnMaps() {
  return ztMap_table()->create == method<mapCreate> && createsOwnAssociations() &&
         hasOwnCompareSetting(ztAssociativeContainerClass_Instance());
}

bool ztcore::hasOwnMapSettings(const ztClass *klass) {
  const auto *methods = static_cast<const ztMapMethods *>(klass->methodTable);
  return methods->setCompareFunction == method<mapSetCompareFunction> && hasOwnAssociationSettings(klass);
}

bool ztcore::hasOwnRelease(const ztClass *klass) {
  const auto *methods = static_cast<const ztMapMethods *>(klass->methodTable);
  return methods->destroy == method<mapDestroy> && methods->unRef == method<baseUnRef>;
}

bool ztcore::allowsOwnDuplicates(const ztClass *klass) {
  return static_cast<const ztMapMethods *>(klass->methodTable)->setAllowDuplicate ==
             method<mapSetAllowDuplicate> &&
         hasOwnDuplicateSetting(ztAssociativeContainerClass_Instance()) &&
         hasOwnDuplicateSetting(ztAvlTreeClass_Instance());
}

bool ztcore::insertsOwnPairs(const ztClass *klass) {
  const auto *methods = static_cast<const ztMapMethods *>(klass->methodTable);
  return methods->pushBack == method<mapPushBack> && methods->newItem == method<newPairItem<ztMapItem>>;
}

bool ztcore::popsOwnPairs(const ztClass *klass) {
  const auto *methods = static_cast<const ztMapMethods *>(klass->methodTable);
  return methods->pop == method<mapPop> && methods->find == method<mapFind>;
}

bool ztcore::hasOwnSearch(const ztClass *klass) {
  return static_cast<const ztMapMethods *>(klass->methodTable)->findValue == method<mapFindValue>;
}

static void mapMethods(ztMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<mapCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, mapClone);
  ZT_OVERRIDE_METHOD(methods, destroy, method<mapDestroy>);
  ZT_OVERRIDE_METHOD(methods, newItem, method<newPairItem<ztMapItem>>);
  ZT_OVERRIDE_METHOD(methods, copyItem, method<copyPairItem<ztMapItem>>);
  ZT_OVERRIDE_METHOD(methods, deleteItem, method<deletePairItem<ztMapItem>>);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, method<mapSetCompareFunction>);
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, method<mapSetAllowDuplicate>);
  ZT_OVERRIDE_METHOD(methods, getSize, method<mapGetSize>);
  ZT_OVERRIDE_METHOD(methods, pushBack, method<mapPushBack>);
  ZT_OVERRIDE_METHOD(methods, pop, method<mapPop>);
  ZT_OVERRIDE_METHOD(methods, empty, method<mapEmpty>);
  ZT_OVERRIDE_METHOD(methods, find, method<mapFind>);
  ZT_OVERRIDE_METHOD(methods, findValue, method<mapFindValue>);
  ZT_OVERRIDE_METHOD(methods, findAll, method<mapFindAll>);
}

ZT_DEFINE_CLASS(ztMap, ztAssociativeContainer, mapMethods)
