/* Objects that hosts end, and those that they leave on purpose, which memory checkers know by the functions that make
 * them. */
#ifndef ZT_TESTS_HOSTS_LEFT_H
#define ZT_TESTS_HOSTS_LEFT_H

#include "zentova.h"

void __lsan_ignore_object(const void *object) __attribute__((weak));

static inline void *leave(void *object) {
  if (__lsan_ignore_object != NULL) __lsan_ignore_object(object);
  return object;
}

static inline void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

/* An array with copies of an object in its block. */
static inline ztArray *newArrayOf(ztCtor constructor, void *object, int32_t count) {
  ztArray *array = ztArray_new();
  ztArray_of(array)->setElementSize(array, ztOOP_classOf(object)->instanceSize, 0);
  ztArray_of(array)->setElementConstructor(array, constructor);
  for (int32_t i = 0; i < count; ++i) CHECK(ztArray_of(array)->pushBack(array, object) != NULL);
  return array;
}

#endif
