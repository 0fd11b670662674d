/* The names of the first nodes of a process. */
#include "tests/hosts/check.h"
#include "zentova.h"

#include <string.h>

#define Place_FIELDS ztRoot_FIELDS
#define Place_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Place)

static void placeMethods(PlaceMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Place, ztRoot, placeMethods)

int main(void) {
  /* Prototypes, and nodes that are not created, are not counted. */
  ztRoot uncreated;
  ztRoot_ctor(&uncreated, 0);
  const ztCtor constructors[] = {Place_ctor, ztRoot_ctor, Place_ctor};
  const char *names[] = {"Place_0", "ztRoot_1", "Place_2"};
  for (int i = 0; i < 3; ++i) {
    void *node = constructors[i](NULL, 1);
    CHECK(strcmp(ztRoot_of(node)->getName(node), names[i]) == 0);
    ztRoot_of(node)->unRef(node);
  }
  return failedChecks;
}
