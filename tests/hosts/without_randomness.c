/*
 * Copies and loads trees on a system that has no random bytes, on which the positions in the library's tables
 * depend.
 */
#include "tests/hosts/check.h"
#include "zentova.h"

#include <errno.h>
#include <sys/types.h>

static int timesAsked;

/* This stands in front of the system's own. */
ssize_t getrandom(void *bytes, size_t size, unsigned flags);
ssize_t getrandom(void *bytes, size_t size, unsigned flags) {
  (void)bytes;
  (void)size;
  (void)flags;
  ++timesAsked;
  errno = ENOSYS;
  return -1;
}

enum { children = 100 };

static ztRoot *newTree(void) {
  ztRoot *parent = ztRoot_ctor(NULL, 1);
  for (int32_t i = 0; i < children; ++i) {
    ztRoot *child = ztRoot_ctor(NULL, 1);
    ztRoot_of(child)->setUid(child, 1000 + i);
    ztRoot_of(parent)->addChild(parent, child);
  }
  return parent;
}

int main(void) {
  ztRoot *tree = newTree();
  ztRoot *copy = ztRoot_of(tree)->clone(tree, ztRoot_newop());
  CHECK(copy != NULL && ztRoot_of(copy)->getChildCount(copy) == children);
  CHECK(timesAsked == 1);
  CHECK(ztRoot_saveTree(tree, "tree.zt", 0) == 1 + children);
  void *roots = ztPtrArray_ctor(NULL, 1);
  CHECK(ztRoot_openTree("tree.zt", roots, NULL) == 1);
  ztRoot *loaded = ztPtrArray_of(roots)->getAt(roots, 0);
  CHECK(ztRoot_of(loaded)->getChildCount(loaded) == children);
  CHECK(timesAsked == 1);
  ztRoot_of(loaded)->unRef(loaded);
  ztPtrArray_of(roots)->unRef(roots);
  ztRoot_of(copy)->unRef(copy);
  ztRoot_of(tree)->unRef(tree);
  return failedChecks;
}
