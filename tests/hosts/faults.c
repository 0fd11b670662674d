/*
 * Lets one allocation of the library's fail. With the argument `load` it is one of those made while the
 * library is loaded, and the environment tells which; else one of those that the first object of a class
 * asks for, and the second argument tells which: `plain` or, for a class whose registration makes a map
 * of properties, `object`. The exit status is 2 when no allocation was left to fail.
 */
#include "zentova.h"

#include "tests/hosts/check.h"

#include <stdlib.h>
#include <string.h>

static int started;
static int allocationsBeforeFault; /* -1 while all succeed, and again once one failed */

/* The library asks for memory before `main` runs. */
static int allocationFails(void) {
  if (!started) {
    const char *text = getenv("ZT_TEST_FAILING_ALLOCATION");
    allocationsBeforeFault = text == NULL ? -1 : atoi(text);
    started = 1;
  }
  return allocationsBeforeFault >= 0 && allocationsBeforeFault-- == 0;
}

/* These stand in front of the library's own. */
void *ztm_alloc(int32_t size) {
  return allocationFails() ? NULL : malloc((size_t)size);
}

void *ztm_realloc(void *block, int32_t size) {
  return allocationFails() ? NULL : realloc(block, (size_t)size);
}

/* Ends the fault; whether an allocation failed. */
static int endFault(void) {
  const int failed = allocationsBeforeFault < 0;
  allocationsBeforeFault = -1;
  return failed;
}

#define Plain_FIELDS ztBaseClass_FIELDS
#define Plain_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Plain)
#define Thing_FIELDS ztObject_FIELDS
#define Thing_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Thing)

static void plainMethods(PlainMethods *methods) {
  (void)methods;
}

static void thingMethods(ThingMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Plain, ztBaseClass, plainMethods)
ZT_DEFINE_CLASS(Thing, ztObject, thingMethods)

static void makeAndReleaseByName(const char *name) {
  void *object = ztNewFromName(name);
  CHECK(object != NULL);
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

/* What was not registered then is registered now. */
static int failWhileLoading(void) {
  const int failed = endFault();
  ztcoreClassInit();
  int classes = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    makeAndReleaseByName(entry->name);
    ++classes;
  }
  CHECK(classes == 62);
  return failed;
}

/* The next object registers the class. */
static int failAtTheFirstObject(ztCtor ctor, const char *name, int allocation) {
  allocationsBeforeFault = allocation;
  void *first = ctor(NULL, 0);
  const int failed = endFault();
  ztm_free(first); /* without `create` it owns nothing */

  void *second = ctor(NULL, 1);
  CHECK(second != NULL);
  if (second != NULL) ztBaseClass_of(second)->unRef(second);
  CHECK(ztOOP_isClassRegistered(name));
  makeAndReleaseByName(name);
  return failed;
}

int main(int argc, char **argv) {
  int failed = 0;
  if (argc == 2 && strcmp(argv[1], "load") == 0) {
    failed = failWhileLoading();
  } else if (argc == 3 && strcmp(argv[1], "plain") == 0) {
    failed = failAtTheFirstObject(Plain_ctor, Plain_classname_, atoi(argv[2]));
  } else if (argc == 3 && strcmp(argv[1], "object") == 0) {
    failed = failAtTheFirstObject(Thing_ctor, Thing_classname_, atoi(argv[2]));
  } else {
    return 3;
  }
  if (failedChecks != 0) return 1;
  return failed ? 0 : 2;
}
