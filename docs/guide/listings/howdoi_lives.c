#include <zentova.h>

#include <assert.h>
#include <stdio.h>

// begin lives
static void reportLiveObjects(void) {
  if (ztOOP_report("live.txt")) puts("see live.txt"); /* 0, with a line in the log, without ZENTOVA_TRACK */
}
// end lives

int main(void) {
  ztObject *object = ztObject_new();
  reportLiveObjects();
  ztObject_of(object)->unRef(object);
  assert(ztOOP_report(NULL) == 0);
  return 0;
}
