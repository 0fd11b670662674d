#include "containers/ztqueues.h"

#include "containers/ztcompare.hh"
#include "containers/ztpointers.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztPtrQueue, 72, 32);

int32_t ztPtrQueue_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPtrQueue_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

static int32_t ptrQueueCreate(void *object) {
  if (!ztQueue_table()->create(object)) return 0;
  keepPointers(object, ztPtrQueue_compare_func, ztPtrQueue_compare_func_ptr);
  return 1;
}

static void ptrQueueMethods(ztPtrQueueMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ptrQueueCreate);
}

ZT_DEFINE_CLASS(ztPtrQueue, ztQueue, ptrQueueMethods)
