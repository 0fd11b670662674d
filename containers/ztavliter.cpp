#include "containers/ztavliter.h"

#include "containers/ztavltree.hh"
#include "containers/ztown.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztAvlIterator, 552, 22);

static int32_t avlIteratorCreate(void *object) {
  if (!ztIterator_table()->create(object)) return 0;
  auto *iterator = static_cast<ztAvlIterator *>(object);
  iterator->tree = nullptr;
  iterator->current = nullptr;
  iterator->depth = 0;
  return 1;
}

// Goes down from the current item to the last child on that side.
static void descend(ztAvlIterator &iterator, bool right) {
  ztAvlTreeItem *item = iterator.current;
  for (ztAvlTreeItem *below = treeLink(item, right); below != nullptr; below = treeLink(item, right)) {
    iterator.path[iterator.depth++] = item;
    item = below;
  }
  iterator.current = item;
}

static void *avlIteratorStart(ztAvlIterator &iterator, const void *container, int32_t direction) {
  iterator.tree = static_cast<const ztAvlTree *>(container);
  iterator.depth = 0;
  iterator.current = container == nullptr ? nullptr : iterator.tree->root;
  if (iterator.current != nullptr) descend(iterator, direction != 0);
  return iterator.current;
}

static void *avlIteratorMove(ztAvlIterator &iterator, int32_t direction) {
  if (iterator.current == nullptr) return nullptr;
  const bool right = direction != 0;
  ztAvlTreeItem *item = iterator.current;
  if (ztAvlTreeItem *below = treeLink(item, right); below != nullptr) {
    iterator.path[iterator.depth++] = item;
    iterator.current = below;
    descend(iterator, !right);
    return iterator.current;
  }
  const ztAvlTreeItem *last;
  do {
    if (iterator.depth == 0) return iterator.current = nullptr;
    last = item;
    item = iterator.path[--iterator.depth];
  } while (treeLink(item, right) == last);
  return iterator.current = item;
}

static void *avlIteratorFirst(ztAvlIterator &iterator, const void *container) {
  return ztAvlIterator_of(&iterator)->start(&iterator, container, 0);
}

static void *avlIteratorLast(ztAvlIterator &iterator, const void *container) {
  return ztAvlIterator_of(&iterator)->start(&iterator, container, 1);
}

static void *avlIteratorNext(ztAvlIterator &iterator) {
  return ztAvlIterator_of(&iterator)->move(&iterator, 1);
}

static void *avlIteratorPrev(ztAvlIterator &iterator) {
  return ztAvlIterator_of(&iterator)->move(&iterator, 0);
}

bool ztcore::walksOwnTrees(const ztClass *klass) {
  const auto *methods = static_cast<const ztAvlIteratorMethods *>(klass->methodTable);
  using CallOfParent = ParentCall<ztAvlIteratorMethods, &ztIterator_table, &ztIteratorMethods::destroy>;
  return methods->create == avlIteratorCreate && methods->destroy == CallOfParent::call &&
         methods->start == method<avlIteratorStart> && methods->move == method<avlIteratorMove> &&
         ztIterator_table()->create == method<baseCreate> && ztIterator_table()->destroy == baseDestroy;
}

static void avlIteratorMethods(ztAvlIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, avlIteratorCreate);
  ZT_CALL_PARENT_ONLY(methods, ztIterator, destroy);
  ZT_OVERRIDE_METHOD(methods, start, method<avlIteratorStart>);
  ZT_OVERRIDE_METHOD(methods, move, method<avlIteratorMove>);
  ZT_OVERRIDE_METHOD(methods, first, method<avlIteratorFirst>);
  ZT_OVERRIDE_METHOD(methods, last, method<avlIteratorLast>);
  ZT_OVERRIDE_METHOD(methods, next, method<avlIteratorNext>);
  ZT_OVERRIDE_METHOD(methods, prev, method<avlIteratorPrev>);
}

ZT_DEFINE_CLASS(ztAvlIterator, ztIterator, avlIteratorMethods)
