#include "containers/ztlists.h"

#include "containers/ztcompare.hh"
#include "containers/ztpointers.hh"
#include "core/ztlayout.hh"
#include "io/ztstring.h"

using namespace ztcore;

ZT_PIN_CLASS(ztIntList, 88, 40);
ZT_PIN_CLASS(ztStringList, 88, 40);
ZT_PIN_CLASS(ztPtrList, 88, 40);

// Integers ----------------------------------------------------------------------------------------

int32_t ztIntList_compare_func(const void *first, const void *second) {
  return compareAt<int32_t>(first, second);
}

int32_t ztIntList_compare_func_ptr(const void *first, const void *second) {
  return compareWords<int32_t>(first, second);
}

static int32_t intListCreate(void *object) {
  if (!ztList_table()->create(object)) return 0;
  ztIntList_of(object)->setElementSize(object, sizeof(int32_t), 0);
  ztIntList_of(object)->setCompareFunction(object, ztIntList_compare_func);
  return 1;
}

static void intListMethods(ztIntListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, intListCreate);
}

ZT_DEFINE_CLASS(ztIntList, ztList, intListMethods)

// Strings -----------------------------------------------------------------------------------------

int32_t ztStringList_compare_func(const void *first, const void *second) {
  return ztStringArray_compare_func(first, second);
}

int32_t ztStringList_compare_func_ptr(const void *first, const void *second) {
  return ztStringList_compare_func(first, second);
}

static int32_t stringListCreate(void *object) {
  if (!ztList_table()->create(object)) return 0;
  ztStringList_of(object)->setElementConstructor(object, ztString_ctor);
  ztStringList_of(object)->setElementSize(object, sizeof(ztString), 0);
  ztStringList_of(object)->setCompareFunction(object, ztStringList_compare_func);
  return 1;
}

static void stringListMethods(ztStringListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stringListCreate);
}

ZT_DEFINE_CLASS(ztStringList, ztList, stringListMethods)

// Pointers ----------------------------------------------------------------------------------------

int32_t ztPtrList_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPtrList_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

static int32_t ptrListCreate(void *object) {
  if (!ztList_table()->create(object)) return 0;
  keepPointers(object, ztPtrList_compare_func, ztPtrList_compare_func_ptr);
  return 1;
}

static void ptrListMethods(ztPtrListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ptrListCreate);
}

ZT_DEFINE_CLASS(ztPtrList, ztList, ptrListMethods)
