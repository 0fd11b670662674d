#include "containers/ztmapiter.h"

#include "containers/ztown.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztMapIterator, 552, 22);

static const ztAvlTree *treeOf(const void *map) {
  return map == nullptr ? nullptr : static_cast<const ztMap *>(map)->tree;
}

static void *mapIteratorFirst(ztMapIterator &iterator, const void *map) {
  return ztMapIterator_of(&iterator)->start(&iterator, treeOf(map), 0);
}

static void *mapIteratorLast(ztMapIterator &iterator, const void *map) {
  return ztMapIterator_of(&iterator)->start(&iterator, treeOf(map), 1);
}

static void *mapIteratorNext(ztMapIterator &iterator) {
  return ztMapIterator_of(&iterator)->move(&iterator, 1);
}

static void *mapIteratorPrev(ztMapIterator &iterator) {
  return ztMapIterator_of(&iterator)->move(&iterator, 0);
}

bool ztcore::walksOwnMaps() {
  const ztMapIteratorMethods *methods = ztMapIterator_table();
  return methods->first == method<mapIteratorFirst> && methods->next == method<mapIteratorNext> &&
         walksOwnTrees(ztMapIteratorClass_Instance());
}

static void mapIteratorMethods(ztMapIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, first, method<mapIteratorFirst>);
  ZT_OVERRIDE_METHOD(methods, last, method<mapIteratorLast>);
  ZT_OVERRIDE_METHOD(methods, next, method<mapIteratorNext>);
  ZT_OVERRIDE_METHOD(methods, prev, method<mapIteratorPrev>);
}

ZT_DEFINE_CLASS(ztMapIterator, ztAvlIterator, mapIteratorMethods)
