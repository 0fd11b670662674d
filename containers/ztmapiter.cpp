#include "containers/ztmapiter.h"

#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztMapIterator, 552, 22);

static const ztAvlTree *treeOf(const void *map) {
  return map == nullptr ? nullptr : static_cast<const ztMap *>(map)->tree;
}

static void *mapIteratorFirst(void *object, const void *container) {
  return object == nullptr ? nullptr : ztMapIterator_of(object)->start(object, treeOf(container), 0);
}

static void *mapIteratorLast(void *object, const void *container) {
  return object == nullptr ? nullptr : ztMapIterator_of(object)->start(object, treeOf(container), 1);
}

static void *mapIteratorNext(void *object) {
  return object == nullptr ? nullptr : ztMapIterator_of(object)->move(object, 1);
}

static void *mapIteratorPrev(void *object) {
  return object == nullptr ? nullptr : ztMapIterator_of(object)->move(object, 0);
}

static void mapIteratorMethods(ztMapIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, first, mapIteratorFirst);
  ZT_OVERRIDE_METHOD(methods, last, mapIteratorLast);
  ZT_OVERRIDE_METHOD(methods, next, mapIteratorNext);
  ZT_OVERRIDE_METHOD(methods, prev, mapIteratorPrev);
}

ZT_DEFINE_CLASS(ztMapIterator, ztAvlIterator, mapIteratorMethods)
