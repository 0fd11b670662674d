#include "containers/ztarrays.h"

#include "containers/ztcompare.hh"
#include "containers/ztpointers.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztPtrArray, 80, 42);
ZT_PIN_CLASS(ztIntArray, 80, 42);
ZT_PIN_CLASS(ztCharArray, 80, 42);
ZT_PIN_CLASS(ztFloatArray, 80, 42);

int32_t ztPtrArray_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPtrArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

int32_t ztIntArray_compare_func(const void *first, const void *second) {
  return compareAt<int32_t>(first, second);
}

int32_t ztIntArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<int32_t>(first, second);
}

int32_t ztCharArray_compare_func(const void *first, const void *second) {
  return compareAt<int8_t>(first, second);
}

int32_t ztCharArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<int8_t>(first, second);
}

int32_t ztFloatArray_compare_func(const void *first, const void *second) {
  return compareAt<double>(first, second);
}

int32_t ztFloatArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<double>(first, second);
}

static int32_t createByValue(void *array, int32_t elementSize, ztCompareFunc compare) {
  if (!ztArray_table()->create(array)) return 0;
  const ztArrayMethods *methods = ztArray_of(array);
  methods->setElementSize(array, elementSize, 0);
  methods->setCompareFunction(array, compare);
  return 1;
}

static int32_t ptrArrayCreate(void *object) {
  if (!ztArray_table()->create(object)) return 0;
  keepPointers(object, ztPtrArray_compare_func, ztPtrArray_compare_func_ptr);
  return 1;
}

static int32_t intArrayCreate(void *object) {
  return createByValue(object, sizeof(int32_t), ztIntArray_compare_func);
}

static int32_t charArrayCreate(void *object) {
  return createByValue(object, sizeof(int8_t), ztCharArray_compare_func);
}

static int32_t floatArrayCreate(void *object) {
  return createByValue(object, sizeof(double), ztFloatArray_compare_func);
}

static void ptrArrayMethods(ztPtrArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ptrArrayCreate);
}

static void intArrayMethods(ztIntArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, intArrayCreate);
}

static void charArrayMethods(ztCharArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, charArrayCreate);
}

static void floatArrayMethods(ztFloatArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, floatArrayCreate);
}

ZT_DEFINE_CLASS(ztPtrArray, ztArray, ptrArrayMethods)
ZT_DEFINE_CLASS(ztIntArray, ztArray, intArrayMethods)
ZT_DEFINE_CLASS(ztCharArray, ztArray, charArrayMethods)
ZT_DEFINE_CLASS(ztFloatArray, ztArray, floatArrayMethods)
