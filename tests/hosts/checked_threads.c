/* Uses an object in another thread than the one that made it, in the way that the argument names. */
#include "objects/ztobject.h"
#include "tests/hosts/check.h"

#include <pthread.h>
#include <string.h>

static void take(void *receiver, intptr_t first) {
  (void)receiver;
  (void)first;
}

static const char *use;
static void *object;
static void *peer;

static void *useObject(void *ignored) {
  const ztObjectMethods *methods = ztObject_of(object);
  ztSlotFunction function;
  function.call1 = take;
  if (strcmp(use, "connect") == 0) {
    CHECK(methods->connect(ztObjectClass_Instance(), object, "changed", peer, "take", function, 1) == 1);
  } else if (strcmp(use, "emit") == 0) {
    CHECK(ztObject_emit(object, "changed", 1) == 0);
  } else if (strcmp(use, "set") == 0) {
    CHECK(methods->setProperty(object, "level", "ztInt", 0) == 1);
  } else if (strcmp(use, "release") == 0) {
    methods->unRef(object);
    object = NULL;
  } else if (strcmp(use, "all") == 0) {
    CHECK(methods->setProperty(object, "level", "ztInt", 0) == 1);
    CHECK(methods->setProperty(object, "level", "ztInt", 1) == 1);
    CHECK(ztObject_emit(object, "changed", 1) == 0);
  } else if (strcmp(use, "own") == 0) {
    void *own = ztObject_ctor(NULL, 1);
    void *string = ztString_ctor(NULL, 1);
    CHECK(ztObject_of(own)->setProperty(own, "level", "ztInt", 0) == 1);
    ztObject_of(own)->unRef(own);
    ztString_of(string)->unRef(string);
  }
  return ignored;
}

int main(int argc, char **argv) {
  use = argc > 1 ? argv[1] : "";
  object = ztObject_ctor(NULL, 1);
  peer = ztObject_ctor(NULL, 1);
  pthread_t thread;
  CHECK(pthread_create(&thread, NULL, useObject, NULL) == 0);
  pthread_join(thread, NULL);
  if (object != NULL) ztObject_of(object)->unRef(object);
  ztObject_of(peer)->unRef(peer);
  return failedChecks != 0;
}
