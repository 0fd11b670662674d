// begin checked
#define ZT_CHECKED /* or -DZT_CHECKED; before the library's header */
#include <zentova.h>

#include <assert.h>

int main(void) {
  ztObject *object = ztObject_new();
  assert(ztRoot_of(object)->getChildCount(object) == 0); /* no node: a line in the log */
  assert(ztRoot_of(NULL)->getName(NULL) == NULL);        /* no object: the same */
  ztObject_of(object)->unRef(object);
  return 0;
}
// end checked
