#include "support/ztalloc.h"

#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztAllocator, 16, 20);

static void allocatorMethods(ztAllocatorMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, allocate);
  ZT_ABSTRACT_METHOD(methods, reallocate);
  ZT_ABSTRACT_METHOD(methods, deallocate);
  ZT_ABSTRACT_METHOD(methods, reserved);
}

ZT_DEFINE_CLASS(ztAllocator, ztBaseClass, allocatorMethods)
