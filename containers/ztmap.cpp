#include "containers/ztmap.h"

#include "containers/ztacont.hh"
#include "containers/ztavltree.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

ZT_PIN_CLASS(ztMap, 96, 35);
ZT_PIN_FIELD(ztMap, tree, 88);
ZT_PIN_SLOT(ztMap, pushBack, 29);
ZT_PIN_SLOT(ztMap, find, 32);
ZT_PIN_SLOT(ztMap, findAll, 34);

static ztAvlTree *treeOf(const void *map) {
  return map == nullptr ? nullptr : static_cast<const ztMap *>(map)->tree;
}

// The tree of a map to look a key up in; NULL where that cannot be done. A NULL is a key where pointers
// are kept.
static ztAvlTree *treeForKey(const void *map, const void *key) {
  if (map == nullptr) return nullptr;
  const ElementPolicy keys = ztKeyPolicy(map);
  if (key == nullptr && (keys.constructor != nullptr || !keys.byPointer)) return nullptr;
  return treeOf(map);
}

// Items -------------------------------------------------------------------------------------------

static void *mapNewItem(void *object, const void *pair) {
  return ztNewPairItem<ztMapItem>(object, pair);
}

static void *mapCopyItem(void *object, void *destination, const void *source) {
  return ztCopyPairItem<ztMapItem>(object, destination, source);
}

static void mapDeleteItem(void *object, void *item) {
  ztDeletePairItem<ztMapItem>(object, item);
}

// Settings ----------------------------------------------------------------------------------------

static void mapSetCompareFunction(void *object, ztCompareFunc compare) {
  ztAssociativeContainer_table()->setCompareFunction(object, compare);
  ztAvlTree *tree = treeOf(object);
  if (tree != nullptr) ztAvlTree_of(tree)->setCompareFunction(tree, compare);
}

static void mapSetAllowDuplicate(void *object, uint32_t allow) {
  ztAssociativeContainer_table()->setAllowDuplicate(object, allow);
  ztAvlTree *tree = treeOf(object);
  if (tree != nullptr) ztAvlTree_of(tree)->setAllowDuplicate(tree, allow);
}

// Pairs -------------------------------------------------------------------------------------------

static ztMapItem *mapPushBack(void *object, const void *key, const void *value) {
  ztAvlTree *tree = treeOf(object);
  if (tree == nullptr) return nullptr;
  const ztKeyValue pair = {key, value};
  return reinterpret_cast<ztMapItem *>(ztAvlTree_of(tree)->push(tree, &pair));
}

static int32_t mapPop(void *object, const void *key) {
  ztAvlTree *tree = treeOf(object);
  if (tree == nullptr) return 0;
  // An empty tree gives 1 for every key.
  if (tree->root != nullptr && treeForKey(object, key) == nullptr) return 0;
  return ztAvlTree_of(tree)->pop(tree, key);
}

static void mapEmpty(void *object) {
  ztAvlTree *tree = treeOf(object);
  if (tree != nullptr) ztAvlTree_of(tree)->empty(tree);
}

static ztMapItem *findItem(const void *object, const void *key) {
  const ztAvlTree *tree = treeForKey(object, key);
  if (tree == nullptr) return nullptr;
  return reinterpret_cast<ztMapItem *>(ztAvlTree_of(tree)->find(tree, key));
}

static ztMapItem *mapFind(const void *object, const void *key) {
  return findItem(object, key);
}

static void *mapFindValue(const void *object, const void *key) {
  const ztMapItem *item = findItem(object, key);
  return item == nullptr ? nullptr : item->value;
}

static int32_t mapFindAll(const ztMap &map, const void *key, void *output) {
  if (!map.allowDuplicate || !ztOOP_isClassOf(output, ztMap_classname_)) return 0;
  const ztAvlTree *tree = treeForKey(&map, key);
  if (tree == nullptr || (tree->root != nullptr && tree->compareFunction == nullptr)) return 0;
  // Collected first, since the output may be the very &map that is searched.
  EqualItems found;
  ztCollectEqual(tree, key, &found);
  const ztMapMethods *methods = ztMap_of(output);
  methods->setAllowDuplicate(output, 1);
  ContainerUse source(tree);
  const ContainerUse target(output);
  for (int i = 0; i < found.count; ++i) {
    const auto *item = reinterpret_cast<const ztMapItem *>(found.items[i]);
    source.setSource(ztOwnOfPair(&map, item->data, item->value));
    methods->pushBack(output, item->data, item->value);
    if (target.ended()) return 0;
    // Where the copying of a pair takes others out, those found may be gone.
    if (source.ended() || source.removed()) break;
  }
  return methods->getSize(output);
}

static int32_t mapGetSize(const void *object) {
  const ztAvlTree *tree = treeOf(object);
  return tree == nullptr ? 0 : static_cast<int32_t>(tree->count);
}

// Life --------------------------------------------------------------------------------------------

static int32_t mapCreate(ztMap &map) {
  auto *map = &map;
  map->tree = nullptr;
  if (!ztAssociativeContainer_table()->create(&map)) return 0;
  map->tree = ztNewObject<ztAvlTree>(ztAvlTree_ctor);
  if (map->tree == nullptr) return 0;
  ztMap_of(&map)->setItemConstructor(&map, ztMapItem_ctor);
  ztAvlTree_of(map->tree)->setItemManager(map->tree, &map);
  return 1;
}

static void mapDestroy(ztMap &map) {
  auto *map = &map;
  // An element may have another tree made at its end.
  while (ztAvlTree *tree = map->tree) {
    map->tree = nullptr;
    ztAvlTree_of(tree)->unRef(tree);
  }
  ztAssociativeContainer_table()->destroy(&map);
}

// Gives the copy of a map a tree of its own with copies of the source's pairs.
static bool copyTree(const ztAvlTree *source, ztMap *copy) {
  copy->tree = static_cast<ztAvlTree *>(ztCopyObject(source));
  if (copy->tree == nullptr) return false;
  ztAvlTree_of(copy->tree)->setItemManager(copy->tree, copy);
  ztKeyValue pair;
  const auto pairOf = [&pair](const ztAvlTreeItem *item) -> const void * {
    pair = {item->data, reinterpret_cast<const ztMapItem *>(item)->value};
    return &pair;
  };
  const auto ownOf = [copy](const ztAvlTreeItem *item) {
    return ztOwnOfPair(copy, item->data, reinterpret_cast<const ztMapItem *>(item)->value);
  };
  return ztPushAll(source, copy->tree, pairOf, ownOf);
}

static void *mapClone(const void *object, void *target) {
  auto *copy = static_cast<ztMap *>(ztAssociativeContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->tree = nullptr;
  const ztAvlTree *tree = treeOf(object);
  if (tree == nullptr || copyTree(tree, copy)) return copy;
  ztMap_table()->destroy(copy);
  return nullptr;
}

static void mapMethods(ztMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ztMethod<mapCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, mapClone);
  ZT_OVERRIDE_METHOD(methods, destroy, ztMethod<mapDestroy>);
  ZT_OVERRIDE_METHOD(methods, newItem, mapNewItem);
  ZT_OVERRIDE_METHOD(methods, copyItem, mapCopyItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, mapDeleteItem);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, mapSetCompareFunction);
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, mapSetAllowDuplicate);
  ZT_OVERRIDE_METHOD(methods, getSize, mapGetSize);
  ZT_OVERRIDE_METHOD(methods, pushBack, mapPushBack);
  ZT_OVERRIDE_METHOD(methods, pop, mapPop);
  ZT_OVERRIDE_METHOD(methods, empty, mapEmpty);
  ZT_OVERRIDE_METHOD(methods, find, mapFind);
  ZT_OVERRIDE_METHOD(methods, findValue, mapFindValue);
  ZT_OVERRIDE_METHOD(methods, findAll, ztMethod<mapFindAll>);
}

ZT_DEFINE_CLASS(ztMap, ztAssociativeContainer, mapMethods)
