// The links of a tree, and the copying of trees and maps.
#ifndef ZT_CONTAINERS_ZTAVLTREE_HH
#define ZT_CONTAINERS_ZTAVLTREE_HH

#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/ztcompare.hh"
#include "containers/ztuse.hh"

namespace ztcore {

// A higher tree would not fit into memory.
constexpr int treeHeight = 64;

inline ztAvlTreeItem *&treeLink(ztAvlTreeItem *item, bool right) {
  return right ? item->right : item->left;
}

// Prefetches both children during a comparison, which hides most of the memory latency of a large tree.
inline void fetchBelow(const ztAvlTreeItem *item) {
  __builtin_prefetch(item->left);
  __builtin_prefetch(item->right);
}

// Restores the balance of an item that leans by 2, and returns the item that takes its place.
ztAvlTreeItem *rotate(ztAvlTreeItem *item);

// Compares elements with a key. Integers are the most common ones, and are compared without a call.
struct IntegerOrder {
  int32_t key;
  int32_t operator()(const void *data) const {
    return data == nullptr ? -1 : compareValues(integerAt(data), key);
  }
};

struct CalledOrder {
  ztCompareFunc compare;
  const void *key;
  int32_t operator()(const void *data) const {
    return compare(data, key);
  }
};

// Runs search(order) with the fastest comparison for the tree's compare function.
template <typename Search>
[[gnu::always_inline]] inline auto withOrder(const ztAvlTree &tree, const void *key, Search search) {
  if (tree.compareFunction != ztIntArray_compare_func || key == nullptr) {
    return search(CalledOrder{tree.compareFunction, key});
  }
  return search(IntegerOrder{integerAt(key)});
}

// Adds an item, before those with an equal element. The compare function must be the library's.
void hangPlainly(ztAvlTree *tree, ztAvlTreeItem *item);

// Takes the first item whose element equals the key out of the tree; NULL when there is none. The item returned may be
// another one, which has got that element.
ztAvlTreeItem *takeOut(ztAvlTree &tree, const void *key);

// Takes the root, with all below it, out of the tree, which is empty then.
inline ztAvlTreeItem *takeRoot(ztAvlTree &tree) {
  ztAvlTreeItem *root = tree.root;
  tree.root = nullptr;
  tree.count = 0;
  noteRemoved(&tree);
  return root;
}

// The items whose element equals a key on one path down from the root, the highest first.
struct EqualItems {
  ztAvlTreeItem *items[treeHeight];
  int count;
};

// Walks down from the root: right below zero, left above zero, and left after an equal item.
void collectEqual(const ztAvlTree *tree, const void *key, EqualItems *found);

// Pushes what `elementOf` returns for each item of a tree onto an empty tree, in the same order. `ownOf`
// returns the part that the tree releases with the item, or NULL. False if a push fails or the source loses
// items.
template <typename ElementOf, typename OwnOf>
bool pushAll(const ztAvlTree *source, ztAvlTree *copy, ElementOf elementOf, OwnOf ownOf) {
  ztAvlIterator walk;
  ztAvlIterator_ctor(&walk, 1);
  const ztAvlIteratorMethods *steps = ztAvlIterator_of(&walk);
  const ztAvlTreeMethods *methods = ztAvlTree_of(copy);
  // The source may have equal elements from a time when they were allowed.
  const uint32_t allowDuplicate = copy->allowDuplicate;
  copy->allowDuplicate = 1;
  ContainerUse use(source);
  // Backwards, because an equal element is inserted before the others.
  auto *item = static_cast<ztAvlTreeItem *>(steps->last(&walk, source));
  while (item != nullptr) {
    use.setSource(ownOf(item));
    if (methods->push(copy, elementOf(item)) == nullptr) break;
    // A push into the source may also rotate it during the walk.
    if (use.ended() || use.changed()) break;
    item = static_cast<ztAvlTreeItem *>(steps->prev(&walk));
  }
  copy->allowDuplicate = allowDuplicate;
  steps->destroy(&walk);
  return item == nullptr;
}

}  // namespace ztcore

#endif
