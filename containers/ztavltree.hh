// The links of a tree, and how a tree or a map fills its copy.
#ifndef ZT_CONTAINERS_ZTAVLTREE_HH
#define ZT_CONTAINERS_ZTAVLTREE_HH

#include "containers/ztavliter.h"
#include "containers/ztuse.hh"

namespace ztcore {

// No tree that fits into memory is higher.
constexpr int treeHeight = 64;

inline ztAvlTreeItem *&treeLink(ztAvlTreeItem *item, bool right) {
  return right ? item->right : item->left;
}

// The items that one way down from the root meets whose element equals a key, the highest first.
struct EqualItems {
  ztAvlTreeItem *items[treeHeight];
  int count;
};

// Walks down from the root: right below zero, left above zero, and left after an equal item.
void collectEqual(const ztAvlTree *tree, const void *key, EqualItems *found);

// Pushes what `elementOf` gives for each item of a tree onto another, which is empty, and keeps the
// order. `ownOf` tells what of that the tree releases with the item, or NULL. False when a push failed, or the
// source lost items meanwhile.
template <typename ElementOf, typename OwnOf>
bool pushAll(const ztAvlTree *source, ztAvlTree *copy, ElementOf elementOf, OwnOf ownOf) {
  ztAvlIterator walk;
  ztAvlIterator_ctor(&walk, 1);
  const ztAvlIteratorMethods *steps = ztAvlIterator_of(&walk);
  const ztAvlTreeMethods *methods = ztAvlTree_of(copy);
  // The source may hold equal elements from a time when it allowed them.
  const uint32_t allowDuplicate = copy->allowDuplicate;
  copy->allowDuplicate = 1;
  ContainerUse use(source);
  // Backwards, since an equal element goes ahead of those that are there.
  auto *item = static_cast<ztAvlTreeItem *>(steps->last(&walk, source));
  while (item != nullptr) {
    use.setSource(ownOf(item));
    if (methods->push(copy, elementOf(item)) == nullptr) break;
    // A push into the source may turn it under the walk, too.
    if (use.ended() || use.changed()) break;
    item = static_cast<ztAvlTreeItem *>(steps->prev(&walk));
  }
  copy->allowDuplicate = allowDuplicate;
  steps->destroy(&walk);
  return item == nullptr;
}

}  // namespace ztcore

#endif
