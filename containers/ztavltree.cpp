#include "containers/ztavltree.h"

#include "containers/ztacont.h"
#include "containers/ztavlitems.hh"
#include "containers/ztavltree.hh"
#include "containers/ztcompare.hh"
#include "containers/ztcont.hh"
#include "containers/ztmapitem.h"
#include "containers/ztown.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztAvlTree, 80, 32);

// Whether elements can be compared with the key. NULL is a valid key for pointers and for host item managers.
static bool canCompare(const ztAvlTree *tree, const void *key) {
  if (tree->compareFunction == nullptr) return false;
  const bool isOwn = tree->itemManager == tree || tree->itemManager == nullptr;
  return key != nullptr || !isOwn || (tree->elementConstructor == nullptr && tree->byPointer);
}

// Adding ------------------------------------------------------------------------------------------

namespace {

// The position for a new item. The probe is above the root, which is its right link.
struct Place {
  ztAvlTreeItem *parent;
  bool right;
  // The last uneven item on the way down, or the root: the only one that can lean by 2 afterwards.
  ztAvlTreeItem *top;
  ztAvlTreeItem *aboveTop;
  bool goesRight[treeHeight];  // from the top down
};

}  // namespace

// False when an item on the path is equal and `refusesEqual` is set.
template <typename Order>
static bool findPlace(const ztAvlTree *tree, ztAvlTreeItem *probe, Order orderOf, bool refusesEqual,
                      Place *place) {
  place->parent = probe;
  place->top = nullptr;
  place->aboveTop = probe;
  bool right = true;
  int64_t depth = 0;
  for (ztAvlTreeItem *item = tree->root; item != nullptr;) {
    if (item->balance != 0) {
      place->top = item;
      place->aboveTop = place->parent;
      depth = 0;
    }
    fetchBelow(item);
    const int32_t order = orderOf(item->data);
    if (order == 0 && refusesEqual) return false;
    right = order < 0;
    place->goesRight[depth++] = right;
    place->parent = item;
    item = right ? item->right : item->left;
  }
  place->right = right;
  return true;
}

static void hang(ztAvlTree *tree, ztAvlTreeItem *probe, const Place &place, ztAvlTreeItem *added) {
  probe->right = tree->root;
  treeLink(place.parent, place.right) = added;
  ztAvlTreeItem *top = place.top == nullptr ? probe->right : place.top;
  int depth = 0;
  for (ztAvlTreeItem *item = top; item != added; item = treeLink(item, place.goesRight[depth++])) {
    // Set during the search.
    item->balance += place.goesRight[depth] ? 1 : -1;  // NOLINT(clang-analyzer-core.uninitialized.Branch)
  }
  if (top->balance == 2 || top->balance == -2) {
    const bool topHangsRight = place.aboveTop->right == top;
    treeLink(place.aboveTop, topHangsRight) = rotate(top);
  }
  tree->root = probe->right;
  ++tree->count;
  noteAdded(tree);
}

// The first element needs no search.
static ztAvlTreeItem *pushFirst(ztAvlTree *tree, ztAvlTreeItem *item) {
  tree->root = item;
  ++tree->count;
  noteAdded(tree);
  return item;
}

void ztcore::hangPlainly(ztAvlTree *tree, ztAvlTreeItem *item) {
  item->left = nullptr;
  item->right = nullptr;
  item->balance = 0;
  if (tree->root == nullptr) {
    pushFirst(tree, item);
    return;
  }
  ztAvlTreeItem aboveRoot;
  Place place;
  findPlace(tree, &aboveRoot, CalledOrder{tree->compareFunction, item->data}, false, &place);
  hang(tree, &aboveRoot, place, item);
}

// Also without a compare function, which the search for an equal element may take out of the tree.
static bool isRefused(const ztAvlTree *tree, const ztAvlTreeItem *probe) {
  if (tree->compareFunction == nullptr) return true;
  if (!tree->allowDuplicate && ztAvlTree_of(tree)->find(tree, probe->data) != nullptr) return true;
  return tree->compareFunction == nullptr;
}

// Adds a new item for the element. The probe also holds the element, as the key of all comparisons.
static ztAvlTreeItem *insert(ztAvlTree *tree, const ContainerUse &use, ztAvlTreeItem *probe,
                             const void *element) {
  Place place;
  findPlace(tree, probe, CalledOrder{tree->compareFunction, probe->data}, false, &place);
  ztAvlTreeItem *added = newTreeItem(tree, use, element);
  if (added == nullptr) return nullptr;
  if (use.changed()) {
    // Making the item called the tree again.
    if (isRefused(tree, probe)) {
      deleteTreeItem(tree, added);
      return nullptr;
    }
    findPlace(tree, probe, CalledOrder{tree->compareFunction, probe->data}, false, &place);
  }
  hang(tree, probe, place, added);
  return added;
}

// The item of an element in the tree, or NULL.
static ztAvlTreeItem *itemOf(const ztAvlTree *tree, const void *data) {
  ztAvlIterator walk;
  ztAvlIterator_ctor(&walk, 1);
  const ztAvlIteratorMethods *steps = ztAvlIterator_table();
  auto *item = static_cast<ztAvlTreeItem *>(steps->start(&walk, tree, 0));
  while (item != nullptr && item->data != data) item = static_cast<ztAvlTreeItem *>(steps->move(&walk, 1));
  steps->destroy(&walk);
  return item;
}

static ztAvlTreeItem *pushBesides(ztAvlTree *tree, ContainerUse *use, ztAvlTreeItem *probe,
                                  const void *element) {
  if (tree->compareFunction == nullptr) {
    deleteTreeItem(tree, probe);
    return nullptr;
  }
  // If the tree is destroyed meanwhile, that deletes the probe.
  use->setItems(probe);
  ztAvlTreeItem *added = isRefused(tree, probe) ? nullptr : insert(tree, *use, probe, element);
  if (use->ended()) return nullptr;
  use->setItems(nullptr);
  use->startAfresh();
  void *data = added == nullptr ? nullptr : added->data;
  deleteTreeItem(tree, probe);
  if (added == nullptr || use->ended()) return nullptr;
  return use->removed() ? itemOf(tree, data) : added;
}

static ztAvlTreeItem *treeFind(const ztAvlTree &tree, const void *key);

// The key of an element of a plain tree. An element of another one is for its item manager alone.
static const void *keyIn(const void *element, Items items) {
  if (items != Items::pairs || element == nullptr) return element;
  return static_cast<const ztKeyValue *>(element)->key;
}

// Whether a push runs no function that a host could see. It needs no probe then.
static bool pushesPlainly(const ztAvlTree &tree, Items items, const void *key) {
  if (items == Items::watched || key == nullptr || !isPlainCompare(tree.compareFunction)) return false;
  return tree.allowDuplicate || ztAvlTree_of(&tree)->find == method<treeFind>;
}

// One search finds both an equal element and the place.
static ztAvlTreeItem *pushPlain(ztAvlTree &tree, Items items, const void *key, const void *element) {
  ztAvlTreeItem aboveRoot;
  Place place;
  const bool isFree = withOrder(tree, key, [&](auto order) {
    return findPlace(&tree, &aboveRoot, order, !tree.allowDuplicate, &place);
  });
  if (!isFree || tree.count >= INT32_MAX) return nullptr;
  ztAvlTreeItem *added = makePlainTreeItem(tree, items, element);
  if (added != nullptr) hang(&tree, &aboveRoot, place, added);
  return added;
}

static ztAvlTreeItem *treePush(ztAvlTree &tree, const void *element) {
  const Items items = itemsOfTree(tree);
  const void *key = keyIn(element, items);
  if (pushesPlainly(tree, items, key)) return pushPlain(tree, items, key, element);
  if (tree.root != nullptr && tree.compareFunction == nullptr) return nullptr;
  ContainerUse use(&tree);
  // Items that an abandoned call had to delete.
  while (void *rest = takeItemsLeft(&tree)) deleteTreeItems(&tree, static_cast<ztAvlTreeItem *>(rest));
  if (use.ended()) return nullptr;
  const bool isFirst = tree.root == nullptr;
  ztAvlTreeItem *item = newTreeItem(&tree, use, element);
  if (item == nullptr) return nullptr;
  // Making the first item may have pushed another: the item is a probe then.
  if (isFirst && tree.root == nullptr) return pushFirst(&tree, item);
  return pushBesides(&tree, &use, item, element);
}

// Removing ----------------------------------------------------------------------------------------

static int32_t treePop(ztAvlTree &tree, const void *key) {
  if (tree.root == nullptr) return 1;
  if (!canCompare(&tree, key)) return 0;
  ztAvlTreeItem *item = takeOut(tree, key);
  if (item == nullptr) return 0;
  // Last, because the element that is destroyed may call the tree.
  if (!deletePlainTreeItem(tree, itemsOfTree(tree), item)) deleteTreeItem(&tree, item);
  return 1;
}

static void treeEmpty(ztAvlTree &tree) {
  if (ztAvlTreeItem *root = takeRoot(tree)) deleteTreeItems(&tree, root);
}

// Finding -----------------------------------------------------------------------------------------

static ztAvlTreeItem *treeFind(const ztAvlTree &tree, const void *key) {
  if (!canCompare(&tree, key)) return nullptr;
  return withOrder(
      tree, key, [&tree](auto orderOf) __attribute__((always_inline)) {
        ztAvlTreeItem *item = tree.root;
        while (item != nullptr) {
          fetchBelow(item);
          const int32_t order = orderOf(item->data);
          if (order == 0) break;
          item = treeLink(item, order < 0);
        }
        return item;
      });
}

void ztcore::collectEqual(const ztAvlTree *tree, const void *key, EqualItems *found) {
  found->count = 0;
  const ztCompareFunc compare = tree->compareFunction;
  ztAvlTreeItem *item = tree->root;
  while (item != nullptr) {
    const int32_t order = compare(item->data, key);
    if (order == 0) found->items[found->count++] = item;
    item = treeLink(item, order < 0);
  }
}

namespace {

// The first own method of every sequence container appends an element.
struct ZT_MAY_ALIAS OutputMethods {
  ztSequenceContainer_METHODS
  void *(*append)(void *container, const void *element);
};

}  // namespace

static_assert(offsetof(OutputMethods, append) == sizeof(ztSequenceContainerMethods));

static int32_t treeFindAll(const ztAvlTree &tree, const void *key, void *output) {
  if (!tree.allowDuplicate) return 0;
  if (!ztOOP_isClassOf(output, ztSequenceContainer_classname_)) return 0;
  if (tree.root != nullptr && !canCompare(&tree, key)) return 0;
  // Collected first, because the output may be the tree that is searched.
  EqualItems found;
  collectEqual(&tree, key, &found);
  const auto *methods = static_cast<const OutputMethods *>(ztOOP_classOf(output)->methodTable);
  ContainerUse source(&tree);
  const ContainerUse target(output);
  for (int i = 0; i < found.count; ++i) {
    source.setSource(ownOfElement(&tree, found.items[i]->data));
    methods->append(output, found.items[i]->data);
    if (target.ended()) return 0;
    // If copying an element removes others, the found ones may be gone.
    if (source.ended() || source.removed()) break;
  }
  return methods->getSize(output);
}

static int32_t treeGetSize(const ztAvlTree &tree) {
  return static_cast<int32_t>(tree.count);
}

// Life --------------------------------------------------------------------------------------------

static int32_t treeCreate(ztAvlTree &tree) {
  tree.root = nullptr;
  tree.count = 0;
  if (!ztSequenceContainer_table()->create(&tree)) return 0;
  tree.compareFunction = nullptr;
  ztAvlTree_of(&tree)->setItemConstructor(&tree, ztAvlTreeItem_ctor);
  return 1;
}

static void treeDestroy(ztAvlTree &tree) {
  ztAvlTree_of(&tree)->empty(&tree);
  for (;;) {
    // What destroyed elements added, and what calls under way had to delete.
    if (tree.root != nullptr) {
      treeEmpty(tree);
    } else if (void *rest = takeItems(&tree)) {
      deleteTreeItems(&tree, static_cast<ztAvlTreeItem *>(rest));
    } else {
      break;
    }
  }
  ztSequenceContainer_table()->destroy(&tree);
}

static void *treeClone(const void *object, void *target) {
  auto *copy = static_cast<ztAvlTree *>(ztSequenceContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->root = nullptr;
  copy->count = 0;
  const auto *source = static_cast<const ztAvlTree *>(object);
  // Only the map that makes such items can copy them; it fills the copy itself.
  if (ztOOP_isClassOf(source->root, ztMapItem_classname_)) return copy;
  const auto elementOf = [](const ztAvlTreeItem *item) -> const void * { return item->data; };
  const auto ownOf = [copy](const ztAvlTreeItem *item) { return ownOfElement(copy, item->data); };
  if (pushAll(source, copy, elementOf, ownOf)) return copy;
  ztAvlTree_table()->destroy(copy);
  return nullptr;
}

bool ztcore::createsOwnTrees() {
  const ztClass *klass = ztAvlTreeClass_Instance();
  return ztAvlTree_table()->create == method<treeCreate> && hasOwnItemSetting(klass) &&
         hasOwnManagerSetting(klass) && hasOwnCompareSetting(klass) && createsOwnSequences();
}

bool ztcore::destroysOwnTrees() {
  const ztAvlTreeMethods *methods = ztAvlTree_table();
  return methods->destroy == method<treeDestroy> && methods->empty == method<treeEmpty> &&
         destroysOwnSequences();
}

bool ztcore::pushesOwnItems() {
  return ztAvlTree_table()->push == method<treePush> && ztAvlTree_table()->find == method<treeFind>;
}

bool ztcore::popsOwnItems() {
  return ztAvlTree_table()->pop == method<treePop> && ztAvlTree_table()->find == method<treeFind>;
}

bool ztcore::findsByTree(const ztMap &map) {
  return hasOwnSearch(map.klass) && ztAvlTree_of(map.tree)->find == method<treeFind>;
}

static void treeMethods(ztAvlTreeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<treeCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, treeClone);
  ZT_OVERRIDE_METHOD(methods, destroy, method<treeDestroy>);
  ZT_OVERRIDE_METHOD(methods, getSize, method<treeGetSize>);
  ZT_OVERRIDE_METHOD(methods, push, method<treePush>);
  ZT_OVERRIDE_METHOD(methods, pop, method<treePop>);
  ZT_OVERRIDE_METHOD(methods, empty, method<treeEmpty>);
  ZT_OVERRIDE_METHOD(methods, find, method<treeFind>);
  ZT_OVERRIDE_METHOD(methods, findAll, method<treeFindAll>);
}

ZT_DEFINE_CLASS(ztAvlTree, ztSequenceContainer, treeMethods)
