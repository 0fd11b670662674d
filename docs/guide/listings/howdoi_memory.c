#include <zentova.h>

#include <assert.h>

static void watch(void) {
  ztRoot *node = ztRoot_new();
  // begin watch
  void *seen = NULL;
  ztObject_watch(node, &seen);
  if (seen != NULL) ztRoot_of(seen)->setName(seen, "Intake");
  ztRoot_of(node)->unRef(node); /* its owner releases it */
  assert(seen == NULL);
  // end watch
}

static void share(void) {
  ztRoot *node = ztRoot_new();
  // begin share
  /* The count stays one above the number of owners: each of them calls ref, also the first. */
  ztRoot_of(node)->ref(node);
  ztRoot_of(node)->ref(node); /* a second owner */
  assert(ztRoot_of(node)->getRefCount(node) == 3);
  ztRoot_of(node)->unRef(node); /* it lives on */
  ztRoot_of(node)->unRef(node); /* the last owner: it ends */
  // end share
}

static void once(void) {
  ztRoot *node = ztRoot_new();
  void *seen = NULL;
  ztObject_watch(node, &seen);
  // begin once
  ztRoot_of(node)->ref(node);
  ztRoot_of(node)->unRef(node); /* ends it: the count comes down to 1 */
  assert(seen == NULL);
  // end once
}

int main(void) {
  watch();
  share();
  once();
  return 0;
}
