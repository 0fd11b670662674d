#include "containers/ztavltree.h"

#include "containers/ztavltree.hh"
#include "containers/ztcont.hh"
#include "containers/ztmapitem.h"
#include "core/ztlayout.hh"

#include <string.h>

ZT_PIN_CLASS(ztAvlTree, 80, 32);
ZT_PIN_FIELD(ztAvlTree, root, 64);
ZT_PIN_FIELD(ztAvlTree, count, 72);
ZT_PIN_SLOT(ztAvlTree, push, 27);
ZT_PIN_SLOT(ztAvlTree, pop, 28);
ZT_PIN_SLOT(ztAvlTree, findAll, 31);

static ztAvlTreeItem *newItem(ztAvlTree *tree, const void *element) {
  void *manager = ztItemManagerOf(tree);
  return static_cast<ztAvlTreeItem *>(ztContainer_of(manager)->newItem(manager, element));
}

static void deleteItem(ztAvlTree *tree, ztAvlTreeItem *item) {
  void *manager = ztItemManagerOf(tree);
  ztContainer_of(manager)->deleteItem(manager, item);
}

// Brings both children nearer while an element is compared, which hides most of the wait for memory in a
// tree that is larger than the caches.
static void fetchBelow(const ztAvlTreeItem *item) {
  __builtin_prefetch(item->left);
  __builtin_prefetch(item->right);
}

// Elements can be compared with the key. A NULL is one where pointers are kept; what it is to a foreign
// item manager, that one knows.
static bool canCompare(const ztAvlTree *tree, const void *key) {
  if (tree->compareFunction == nullptr) return false;
  const bool isOwn = tree->itemManager == tree || tree->itemManager == nullptr;
  return key != nullptr || !isOwn || (tree->elementConstructor == nullptr && tree->byPointer);
}

// Balance -----------------------------------------------------------------------------------------

// Restores the balance of an item that leans by 2, and returns the item that takes its place.
static ztAvlTreeItem *rotate(ztAvlTreeItem *item) {
  const bool right = item->balance > 0;
  const int32_t lean = right ? 1 : -1;
  ztAvlTreeItem *child = ztTreeLink(item, right);
  if (child->balance != -lean) {
    ztTreeLink(item, right) = ztTreeLink(child, !right);
    ztTreeLink(child, !right) = item;
    // An even child occurs after a removal only; the height then stays as it was.
    item->balance = child->balance == 0 ? lean : 0;
    child->balance = child->balance == 0 ? -lean : 0;
    return child;
  }
  ztAvlTreeItem *middle = ztTreeLink(child, !right);
  ztTreeLink(child, !right) = ztTreeLink(middle, right);
  ztTreeLink(middle, right) = child;
  ztTreeLink(item, right) = ztTreeLink(middle, !right);
  ztTreeLink(middle, !right) = item;
  item->balance = middle->balance == lean ? -lean : 0;
  child->balance = middle->balance == -lean ? lean : 0;
  middle->balance = 0;
  return middle;
}

// Adding ------------------------------------------------------------------------------------------

// Adds a new item for the element. The probe holds the element too, as the key of all comparisons, and
// stands above the root, which is its right link.
static ztAvlTreeItem *insert(ztAvlTree *tree, ztAvlTreeItem *probe, const void *element) {
  const ztCompareFunc compare = tree->compareFunction;
  probe->right = tree->root;
  ztAvlTreeItem *parent = probe;
  // The last uneven item on the way down, or else the root: the only one that can come to lean by 2.
  ztAvlTreeItem *top = nullptr;
  ztAvlTreeItem *aboveTop = probe;
  bool goesRight[ztTreeHeight];
  int depth = 0;
  bool right = true;
  for (ztAvlTreeItem *item = tree->root; item != nullptr; item = ztTreeLink(item, right)) {
    if (item->balance != 0) {
      top = item;
      aboveTop = parent;
      depth = 0;
    }
    fetchBelow(item);
    right = compare(item->data, probe->data) < 0;
    goesRight[depth++] = right;
    parent = item;
  }

  ztAvlTreeItem *added = newItem(tree, element);
  if (added == nullptr) return nullptr;
  ztTreeLink(parent, right) = added;
  if (top == nullptr) top = probe->right;
  depth = 0;
  for (ztAvlTreeItem *item = top; item != added; item = ztTreeLink(item, goesRight[depth++])) {
    item->balance += goesRight[depth] ? 1 : -1;
  }
  if (top->balance == 2 || top->balance == -2) {
    const bool topHangsRight = aboveTop->right == top;
    ztTreeLink(aboveTop, topHangsRight) = rotate(top);
  }
  tree->root = probe->right;
  ++tree->count;
  return added;
}

static ztAvlTreeItem *treePush(void *object, const void *element) {
  auto *tree = static_cast<ztAvlTree *>(object);
  if (tree == nullptr) return nullptr;
  if (tree->root == nullptr) {
    tree->root = newItem(tree, element);
    if (tree->root != nullptr) ++tree->count;
    return tree->root;
  }
  if (tree->compareFunction == nullptr) return nullptr;
  ztAvlTreeItem *probe = newItem(tree, element);
  if (probe == nullptr) return nullptr;
  ztAvlTreeItem *added = nullptr;
  if (tree->allowDuplicate || ztAvlTree_of(tree)->find(tree, probe->data) == nullptr) {
    added = insert(tree, probe, element);
  }
  deleteItem(tree, probe);
  return added;
}

// Removing ----------------------------------------------------------------------------------------

namespace {

// The way from the root down to an item: what was passed, and to which side it was left.
struct Path {
  ztAvlTreeItem *items[ztTreeHeight];
  bool wentRight[ztTreeHeight];
  int depth;
};

}  // namespace

static ztAvlTreeItem *step(Path *path, ztAvlTreeItem *item, bool right) {
  path->items[path->depth] = item;
  path->wentRight[path->depth++] = right;
  return ztTreeLink(item, right);
}

// The link that leads to the end of the path.
static ztAvlTreeItem *&linkAtEnd(ztAvlTree *tree, const Path &path) {
  if (path.depth == 0) return tree->root;
  return ztTreeLink(path.items[path.depth - 1], path.wentRight[path.depth - 1]);
}

static void exchangeBytes(char *first, char *second, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    const char byte = first[i];
    first[i] = second[i];
    second[i] = byte;
  }
}

// Exchanges all that two items carry beside their place in the tree: the element, and whatever subclasses
// add to it.
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

// Takes the item at the end of the path, or its successor in its stead, out of the tree. The path then
// leads to where one item less hangs. Returns the item taken, which carries the element to release.
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

// Restores the balances from the end of the path upwards, where a subtree has become one lower.
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

static int32_t treePop(void *object, const void *key) {
  auto *tree = static_cast<ztAvlTree *>(object);
  if (tree == nullptr) return 0;
  if (tree->root == nullptr) return 1;
  if (!canCompare(tree, key)) return 0;
  Path path;
  path.depth = 0;
  ztAvlTreeItem *item = tree->root;
  while (item != nullptr) {
    fetchBelow(item);
    const int32_t order = tree->compareFunction(item->data, key);
    if (order == 0) break;
    item = step(&path, item, order < 0);
  }
  if (item == nullptr) return 0;
  item = unlinkItem(tree, &path, item);
  rebalance(tree, &path);
  --tree->count;
  // Last, since the end of an element may call back into the tree.
  deleteItem(tree, item);
  return 1;
}

static void treeEmpty(void *object) {
  auto *tree = static_cast<ztAvlTree *>(object);
  if (tree == nullptr) return;
  ztAvlTreeItem *item = tree->root;
  tree->root = nullptr;
  tree->count = 0;
  while (item != nullptr) {
    ztAvlTreeItem *left = item->left;
    ztAvlTreeItem *right = item->right;
    if (left == nullptr) {
      deleteItem(tree, item);
      item = right;
    } else {
      item->left = left->right;
      left->right = item;
      item = left;
    }
  }
}

// Finding -----------------------------------------------------------------------------------------

static ztAvlTreeItem *treeFind(const void *object, const void *key) {
  const auto *tree = static_cast<const ztAvlTree *>(object);
  if (tree == nullptr || !canCompare(tree, key)) return nullptr;
  const ztCompareFunc compare = tree->compareFunction;
  ztAvlTreeItem *item = tree->root;
  while (item != nullptr) {
    fetchBelow(item);
    const int32_t order = compare(item->data, key);
    if (order == 0) break;
    item = ztTreeLink(item, order < 0);
  }
  return item;
}

void ztCollectEqual(const ztAvlTree *tree, const void *key, EqualItems *found) {
  found->count = 0;
  ztAvlTreeItem *item = tree->root;
  while (item != nullptr) {
    const int32_t order = tree->compareFunction(item->data, key);
    if (order == 0) found->items[found->count++] = item;
    item = ztTreeLink(item, order < 0);
  }
}

namespace {

// Every sequence container lists first, of its own methods, the one that appends an element.
struct ZT_MAY_ALIAS OutputMethods {
  ztSequenceContainer_METHODS
  void *(*append)(void *container, const void *element);
};

}  // namespace

static_assert(offsetof(OutputMethods, append) == sizeof(ztSequenceContainerMethods));

static int32_t treeFindAll(const void *object, const void *key, void *output) {
  const auto *tree = static_cast<const ztAvlTree *>(object);
  if (tree == nullptr || !tree->allowDuplicate) return 0;
  if (!ztOOP_isClassOf(output, ztSequenceContainer_classname_)) return 0;
  if (tree->root != nullptr && !canCompare(tree, key)) return 0;
  // Collected first, since the output may be the very tree that is searched.
  EqualItems found;
  ztCollectEqual(tree, key, &found);
  const auto *methods = static_cast<const OutputMethods *>(ztOOP_classOf(output)->methodTable);
  for (int i = 0; i < found.count; ++i) methods->append(output, found.items[i]->data);
  return methods->getSize(output);
}

static int32_t treeGetSize(const void *object) {
  return object == nullptr ? 0 : static_cast<int32_t>(static_cast<const ztAvlTree *>(object)->count);
}

// Life --------------------------------------------------------------------------------------------

static int32_t treeCreate(void *object) {
  if (object == nullptr) return 0;
  auto *tree = static_cast<ztAvlTree *>(object);
  tree->root = nullptr;
  tree->count = 0;
  if (!ztSequenceContainer_table()->create(object)) return 0;
  tree->compareFunction = nullptr;
  ztAvlTree_of(object)->setItemConstructor(object, ztAvlTreeItem_ctor);
  return 1;
}

static void treeDestroy(void *object) {
  if (object == nullptr) return;
  ztAvlTree_of(object)->empty(object);
  ztSequenceContainer_table()->destroy(object);
}

static void *treeClone(const void *object, void *target) {
  auto *copy = static_cast<ztAvlTree *>(ztSequenceContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->root = nullptr;
  copy->count = 0;
  const auto *source = static_cast<const ztAvlTree *>(object);
  // Only the map that makes such items can copy them, and fills the copy itself.
  if (ztOOP_isClassOf(source->root, ztMapItem_classname_)) return copy;
  const auto elementOf = [](const ztAvlTreeItem *item) -> const void * { return item->data; };
  if (ztPushAll(source, copy, elementOf)) return copy;
  ztAvlTree_table()->destroy(copy);
  return nullptr;
}

static void treeMethods(ztAvlTreeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, treeCreate);
  ZT_OVERRIDE_METHOD(methods, clone, treeClone);
  ZT_OVERRIDE_METHOD(methods, destroy, treeDestroy);
  ZT_OVERRIDE_METHOD(methods, getSize, treeGetSize);
  ZT_OVERRIDE_METHOD(methods, push, treePush);
  ZT_OVERRIDE_METHOD(methods, pop, treePop);
  ZT_OVERRIDE_METHOD(methods, empty, treeEmpty);
  ZT_OVERRIDE_METHOD(methods, find, treeFind);
  ZT_OVERRIDE_METHOD(methods, findAll, treeFindAll);
}

ZT_DEFINE_CLASS(ztAvlTree, ztSequenceContainer, treeMethods)
