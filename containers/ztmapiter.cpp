#include "containers/ztmapiter.h"

#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

ZT_PIN_CLASS(ztMapIterator, 552, 22);

static const ztAvlTree *treeOf(const void *map) {
  return map == nullptr ? nullptr : static_cast<const ztMap *>(map)->tree;
}

static void *mapIteratorFirst(ztMapIterator &self, const void *container) {
  return ztMapIterator_of(&self)->start(&self, treeOf(container), 0);
}

static void *mapIteratorLast(ztMapIterator &self, const void *container) {
  return ztMapIterator_of(&self)->start(&self, treeOf(container), 1);
}

static void *mapIteratorNext(ztMapIterator &self) {
  return ztMapIterator_of(&self)->move(&self, 1);
}

static void *mapIteratorPrev(ztMapIterator &self) {
  return ztMapIterator_of(&self)->move(&self, 0);
}

static void mapIteratorMethods(ztMapIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, first, ztMethod<mapIteratorFirst>);
  ZT_OVERRIDE_METHOD(methods, last, ztMethod<mapIteratorLast>);
  ZT_OVERRIDE_METHOD(methods, next, ztMethod<mapIteratorNext>);
  ZT_OVERRIDE_METHOD(methods, prev, ztMethod<mapIteratorPrev>);
}

ZT_DEFINE_CLASS(ztMapIterator, ztAvlIterator, mapIteratorMethods)
