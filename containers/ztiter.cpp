#include "containers/ztiter.h"

#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztIterator, 16, 22);

static void iteratorMethods(ztIteratorMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, start);
  ZT_ABSTRACT_METHOD(methods, move);
  ZT_ABSTRACT_METHOD(methods, first);
  ZT_ABSTRACT_METHOD(methods, last);
  ZT_ABSTRACT_METHOD(methods, next);
  ZT_ABSTRACT_METHOD(methods, prev);
}

ZT_DEFINE_CLASS(ztIterator, ztBaseClass, iteratorMethods)
