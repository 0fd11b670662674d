// Keeps trees balanced.
#include "containers/ztavltree.hh"
#include "containers/ztcont.hh"

using namespace ztcore;

ztAvlTreeItem *ztcore::rotate(ztAvlTreeItem *item) {
  const bool right = item->balance > 0;
  const int32_t lean = right ? 1 : -1;
  ztAvlTreeItem *child = treeLink(item, right);
  if (child->balance != -lean) {
    treeLink(item, right) = treeLink(child, !right);
    treeLink(child, !right) = item;
    // An even child occurs only after a removal; the height then stays the same.
    item->balance = child->balance == 0 ? lean : 0;
    child->balance = child->balance == 0 ? -lean : 0;
    return child;
  }
  ztAvlTreeItem *middle = treeLink(child, !right);
  treeLink(child, !right) = treeLink(middle, right);
  treeLink(middle, right) = child;
  treeLink(item, right) = treeLink(middle, !right);
  treeLink(middle, !right) = item;
  item->balance = middle->balance == lean ? -lean : 0;
  child->balance = middle->balance == -lean ? lean : 0;
  middle->balance = 0;
  return middle;
}

// Removing -------------------------------------------------------------------------------------------

namespace {

// The path from the root down to an item: the items passed, and the side taken at each.
struct Path {
  ztAvlTreeItem *items[treeHeight];
  bool wentRight[treeHeight];
  int depth;
};

}  // namespace

static ztAvlTreeItem *step(Path *path, ztAvlTreeItem *item, bool right) {
  path->items[path->depth] = item;
  path->wentRight[path->depth++] = right;
  return treeLink(item, right);
}

// The link to the end of the path.
static ztAvlTreeItem *&linkAtEnd(ztAvlTree *tree, const Path &path) {
  if (path.depth == 0) return tree->root;
  return treeLink(path.items[path.depth - 1], path.wentRight[path.depth - 1]);
}

static void exchangeBytes(char *first, char *second, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    const char byte = first[i];
    first[i] = second[i];
    second[i] = byte;
  }
}

// Exchanges the contents of two items, but not their links: the element and what subclasses add.
static void exchangeContents(ztAvlTreeItem *first, ztAvlTreeItem *second) {
  void *data = first->data;
  first->data = second->data;
  second->data = data;
  const int32_t firstSize = first->klass->instanceSize;
  const int32_t secondSize = second->klass->instanceSize;
  const auto size = static_cast<size_t>(firstSize < secondSize ? firstSize : secondSize);
  if (size <= sizeof(ztAvlTreeItem)) return;
  exchangeBytes(reinterpret_cast<char *>(first + 1), reinterpret_cast<char *>(second + 1),
                size - sizeof(ztAvlTreeItem));
}

// Removes the item at the end of the path, or its successor in its place. The path then leads to the subtree
// that has lost an item. Returns the removed item, with the element to release.
static ztAvlTreeItem *unlinkItem(ztAvlTree *tree, Path *path, ztAvlTreeItem *item) {
  if (item->left == nullptr || item->right == nullptr) {
    linkAtEnd(tree, *path) = item->left != nullptr ? item->left : item->right;
    return item;
  }
  ztAvlTreeItem *successor = step(path, item, true);
  while (successor->left != nullptr) successor = step(path, successor, false);
  exchangeContents(item, successor);
  linkAtEnd(tree, *path) = successor->right;
  return successor;
}

// Restores the balances upwards from the end of the path, where a subtree has lost a level.
static void rebalance(ztAvlTree *tree, Path *path) {
  while (path->depth > 0) {
    --path->depth;
    ztAvlTreeItem *item = path->items[path->depth];
    item->balance += path->wentRight[path->depth] ? -1 : 1;
    if (item->balance == 2 || item->balance == -2) {
      item = rotate(item);
      linkAtEnd(tree, *path) = item;
    }
    if (item->balance != 0) return;  // as high as before
  }
}

ztAvlTreeItem *ztcore::takeOut(ztAvlTree &tree, const void *key) {
  Path path;
  path.depth = 0;
  ztAvlTreeItem *item = withOrder(tree, key, [&](auto orderOf) {
    ztAvlTreeItem *at = tree.root;
    while (at != nullptr) {
      fetchBelow(at);
      const int32_t order = orderOf(at->data);
      if (order == 0) break;
      at = step(&path, at, order < 0);
    }
    return at;
  });
  if (item == nullptr) return nullptr;
  item = unlinkItem(&tree, &path, item);
  rebalance(&tree, &path);
  --tree.count;
  noteRemoved(&tree);
  return item;
}
