/* What hosts read by number: fields by their offsets, functions by their slots. */
#ifndef ZT_TESTS_HOSTS_RAW_H
#define ZT_TESTS_HOSTS_RAW_H

#include <stdint.h>
#include <string.h>

typedef void (*Function)(void);

/* What the slots of objects and files take. */
typedef int32_t (*Status)(void *object);
typedef void (*Action)(void *object);
typedef int32_t (*Open)(void *file, const char *name, const char *mode);
typedef int64_t (*Tell)(void *file);
typedef int32_t (*ClassWrite)(const void *ignored, const void *object, void *file);
typedef void *(*ClassRead)(const void *ignored, void *file);

static inline void *pointerAt(const void *object, size_t offset) {
  void *result;
  memcpy(&result, (const char *)object + offset, sizeof result);
  return result;
}

static inline int32_t intAt(const void *object, size_t offset) {
  int32_t result;
  memcpy(&result, (const char *)object + offset, sizeof result);
  return result;
}

/* The function in a slot of a table. */
static inline Function entry(const void *table, int number) {
  Function result;
  memcpy(&result, (const char *)table + (size_t)number * sizeof result, sizeof result);
  return result;
}

/* The method in a slot of an object's class. */
static inline Function slot(const void *object, int number) {
  return entry(pointerAt(pointerAt(object, 0), 40), number);
}

#endif
