#include "containers/ztstacks.h"

#include "containers/ztcompare.hh"
#include "containers/ztpointers.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztPtrStack, 72, 31);

int32_t ztPtrStack_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPtrStack_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

static int32_t ptrStackCreate(void *object) {
  if (!ztStack_table()->create(object)) return 0;
  keepPointers(object, ztPtrStack_compare_func, ztPtrStack_compare_func_ptr);
  return 1;
}

static void ptrStackMethods(ztPtrStackMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ptrStackCreate);
}

ZT_DEFINE_CLASS(ztPtrStack, ztStack, ptrStackMethods)
