#include "containers/ztavliter.h"

#include "containers/ztavltree.hh"
#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztAvlIterator, 552, 22);
ZT_PIN_FIELD(ztAvlIterator, tree, 16);
ZT_PIN_FIELD(ztAvlIterator, current, 24);
ZT_PIN_FIELD(ztAvlIterator, path, 32);
ZT_PIN_FIELD(ztAvlIterator, depth, 544);

static int32_t avlIteratorCreate(void *object) {
  if (!ztIterator_table()->create(object)) return 0;
  auto *iterator = static_cast<ztAvlIterator *>(object);
  iterator->tree = nullptr;
  iterator->current = nullptr;
  iterator->depth = 0;
  return 1;
}

static void avlIteratorDestroy(void *object) {
  ztIterator_table()->destroy(object);
}

// Goes down from the current item as long as there is a child on that side.
static void descend(ztAvlIterator *iterator, bool right) {
  ztAvlTreeItem *item = iterator->current;
  for (ztAvlTreeItem *below = ztTreeLink(item, right); below != nullptr; below = ztTreeLink(item, right)) {
    iterator->path[iterator->depth++] = item;
    item = below;
  }
  iterator->current = item;
}

static void *avlIteratorStart(void *object, const void *container, int32_t direction) {
  auto *iterator = static_cast<ztAvlIterator *>(object);
  if (iterator == nullptr) return nullptr;
  iterator->tree = static_cast<const ztAvlTree *>(container);
  iterator->depth = 0;
  iterator->current = container == nullptr ? nullptr : iterator->tree->root;
  if (iterator->current != nullptr) descend(iterator, direction != 0);
  return iterator->current;
}

static void *avlIteratorMove(void *object, int32_t direction) {
  auto *iterator = static_cast<ztAvlIterator *>(object);
  if (iterator == nullptr || iterator->current == nullptr) return nullptr;
  const bool right = direction != 0;
  ztAvlTreeItem *item = iterator->current;
  if (ztAvlTreeItem *below = ztTreeLink(item, right); below != nullptr) {
    iterator->path[iterator->depth++] = item;
    iterator->current = below;
    descend(iterator, !right);
    return iterator->current;
  }
  const ztAvlTreeItem *last;
  do {
    if (iterator->depth == 0) return iterator->current = nullptr;
    last = item;
    item = iterator->path[--iterator->depth];
  } while (ztTreeLink(item, right) == last);
  return iterator->current = item;
}

static void *avlIteratorFirst(void *object, const void *container) {
  return object == nullptr ? nullptr : ztAvlIterator_of(object)->start(object, container, 0);
}

static void *avlIteratorLast(void *object, const void *container) {
  return object == nullptr ? nullptr : ztAvlIterator_of(object)->start(object, container, 1);
}

static void *avlIteratorNext(void *object) {
  return object == nullptr ? nullptr : ztAvlIterator_of(object)->move(object, 1);
}

static void *avlIteratorPrev(void *object) {
  return object == nullptr ? nullptr : ztAvlIterator_of(object)->move(object, 0);
}

static void avlIteratorMethods(ztAvlIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, avlIteratorCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, avlIteratorDestroy);
  ZT_OVERRIDE_METHOD(methods, start, avlIteratorStart);
  ZT_OVERRIDE_METHOD(methods, move, avlIteratorMove);
  ZT_OVERRIDE_METHOD(methods, first, avlIteratorFirst);
  ZT_OVERRIDE_METHOD(methods, last, avlIteratorLast);
  ZT_OVERRIDE_METHOD(methods, next, avlIteratorNext);
  ZT_OVERRIDE_METHOD(methods, prev, avlIteratorPrev);
}

ZT_DEFINE_CLASS(ztAvlIterator, ztIterator, avlIteratorMethods)
