#include "containers/ztavlitems.hh"

#include "containers/ztacont.hh"
#include "containers/ztitems.hh"
#include "containers/ztmap.h"
#include "containers/ztscont.hh"
#include "core/ztshared.hh"

using namespace ztcore;

ztAvlTreeItem *ztcore::newTreeItem(ztAvlTree *tree, const ContainerUse &use, const void *element) {
  if (tree->count >= INT32_MAX) return nullptr;
  return static_cast<ztAvlTreeItem *>(makeItem(tree, use, element));
}

void ztcore::deleteTreeItem(ztAvlTree *tree, ztAvlTreeItem *item) {
  void *manager = itemManagerOf(tree);
  ztContainer_of(manager)->deleteItem(manager, item);
}

static const ztMap &mapOf(const ztAvlTree &tree) {
  return *static_cast<const ztMap *>(tree.itemManager);
}

Items ztcore::itemsOfTree(const ztAvlTree &tree) {
  if (tree.itemManager == &tree) {
    const bool isPlain = hasPlainItems(tree, ztAvlTreeItem_ctor) &&
                         isPlainClass(ztAvlTreeItemClass_Instance(), avlTreeItemCreate);
    return isPlain ? Items::elements : Items::watched;
  }
  if (tree.itemManager == nullptr) return Items::watched;
  // Only a map has this function in the slot.
  const bool isMap = ztContainer_of(tree.itemManager)->newItem == method<newPairItem<ztMapItem>>;
  const bool isPlain = isMap && hasPlainPairs<ztMapItem>(mapOf(tree), ztMapItem_ctor) &&
                       isPlainClass(ztMapItemClass_Instance(), mapItemCreate);
  return isPlain ? Items::pairs : Items::watched;
}

ztAvlTreeItem *ztcore::makePlainTreeItem(const ztAvlTree &tree, Items items, const void *element) {
  ztAvlTreeItem *item;
  if (items == Items::elements) {
    item = makePlainItem<ztAvlTreeItem>(tree, ztAvlTreeItem_ctor, element);
  } else {
    const auto *pair = static_cast<const ztKeyValue *>(element);
    ztMapItem *made = makePlainPair<ztMapItem>(mapOf(tree), ztMapItem_ctor, pair->key, pair->value);
    item = reinterpret_cast<ztAvlTreeItem *>(made);
  }
  if (item == nullptr) return nullptr;
  item->left = nullptr;
  item->right = nullptr;
  item->balance = 0;
  return item;
}

bool ztcore::deletePlainTreeItem(const ztAvlTree &tree, Items items, ztAvlTreeItem *item) {
  if (items == Items::elements && endsPlain(item, ztAvlTreeItemClass_Instance())) {
    releasePlain(policyOf(tree), item->data);
    ztm_free(item);
    return true;
  }
  if (items == Items::pairs && endsPlain(item, ztMapItemClass_Instance())) {
    releasePlainPair(mapOf(tree), reinterpret_cast<ztMapItem *>(item));
    freePart(item);
    return true;
  }
  return false;
}

// Rotates a subtree until its root has no left child; the new root.
static ztAvlTreeItem *turnToLast(ztAvlTreeItem *item) {
  while (ztAvlTreeItem *left = item->left) {
    item->left = left->right;
    left->right = item;
    item = left;
  }
  return item;
}

// Deletes a subtree up to the first item that is not plain; the rest of it.
static ztAvlTreeItem *deletePlainItems(const ztAvlTree &tree, ztAvlTreeItem *item) {
  const Items items = itemsOfTree(tree);
  while (items != Items::watched && item != nullptr) {
    item = turnToLast(item);
    ztAvlTreeItem *right = item->right;
    if (!deletePlainTreeItem(tree, items, item)) break;
    item = right;
  }
  return item;
}

void ztcore::deleteTreeItems(ztAvlTree *tree, ztAvlTreeItem *item) {
  item = deletePlainItems(*tree, item);
  if (item == nullptr) return;
  ContainerUse use(tree);
  while (item != nullptr) {
    item = turnToLast(item);
    ztAvlTreeItem *right = item->right;
    use.setItems(right);
    deleteTreeItem(tree, item);
    if (use.ended()) return;
    item = right;
  }
}
