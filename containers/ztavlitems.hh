// The items of a tree: how they are made and deleted.
#ifndef ZT_CONTAINERS_ZTAVLITEMS_HH
#define ZT_CONTAINERS_ZTAVLITEMS_HH

#include "containers/ztavltree.h"
#include "containers/ztuse.hh"

namespace ztcore {

// How the items of a tree are made and deleted.
enum class Items {
  watched,   // step by step, by functions that may be a host's
  elements,  // in one step, by the tree
  pairs      // in one step, by the map whose tree it is
};

Items itemsOfTree(const ztAvlTree &tree);

// A plain item without children that holds the element. NULL when memory is exhausted.
ztAvlTreeItem *makePlainTreeItem(const ztAvlTree &tree, Items items, const void *element);

// False, with nothing deleted, when the item is of another class or has further references.
bool deletePlainTreeItem(const ztAvlTree &tree, Items items, ztAvlTreeItem *item);

// The item manager's item for an element. NULL when that fails, and when the count is at its maximum.
ztAvlTreeItem *newTreeItem(ztAvlTree *tree, const ContainerUse &use, const void *element);

// Has the item manager delete an item.
void deleteTreeItem(ztAvlTree *tree, ztAvlTreeItem *item);

// Deletes removed items and all below them. If the tree is destroyed meanwhile, that deletes the rest.
void deleteTreeItems(ztAvlTree *tree, ztAvlTreeItem *item);

}  // namespace ztcore

#endif
