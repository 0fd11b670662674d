/*
 * A host whose calls are checked, and which has functions of its own under the short names of a class.
 */
#define ZT_CHECKED
#define ZT_NO_SHORT_NAMES
#include "zentova.h"

#include "tests/hosts/check.h"

#define Bell_FIELDS  \
  ztBaseClass_FIELDS \
  double pitch;
#define Bell_METHODS  \
  ztBaseClass_METHODS \
  double (*ring)(const void *bell);
ZT_DECLARE_CLASS(Bell)

static double bellRing(const void *bell) {
  return ((const Bell *)bell)->pitch;
}

static void bellMethods(BellMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, ring, bellRing);
}

ZT_DEFINE_CLASS(Bell, ztBaseClass, bellMethods)

static Bell *Bell_new(double pitch) {
  Bell *bell = Bell_ctor(NULL, 1);
  bell->pitch = pitch;
  return bell;
}

int main(void) {
  Bell *bell = Bell_new(440);
  void *text = ztString_ctor(NULL, 1);
  CHECK(Bell_of(bell)->ring(bell) == 440);
  CHECK(Bell_of(text)->ring(text) == 0);
  CHECK(Bell_of(NULL)->ring(NULL) == 0);
  CHECK(ztString_of(bell)->get(bell) == NULL);
  CHECK(ztObject_of(bell)->setProperty(bell, "level", "ztInt", 1) == 0);
  CHECK(ztOOP_cast(bell, ztStringClass_Instance()) == NULL);
  ztString_of(text)->unRef(text);
  Bell_of(bell)->unRef(bell);
  return failedChecks != 0;
}
