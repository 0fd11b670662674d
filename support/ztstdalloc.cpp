#include "support/ztstdalloc.h"

#include "core/ztlayout.hh"

#include <stdlib.h>

using namespace ztcore;

ZT_PIN_CLASS(ztStdAllocator, 16, 20);

static void *stdAllocate(void *, uint64_t size) {
  return malloc(size);
}

static void *stdReallocate(void *, void *block, uint64_t, uint64_t newSize) {
  return realloc(block, newSize);
}

static void stdDeallocate(void *, void *block) {
  free(block);
}

static void stdAllocatorMethods(ztStdAllocatorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, allocate, stdAllocate);
  ZT_OVERRIDE_METHOD(methods, reallocate, stdReallocate);
  ZT_OVERRIDE_METHOD(methods, deallocate, stdDeallocate);
}

ZT_DEFINE_CLASS(ztStdAllocator, ztAllocator, stdAllocatorMethods)
