/* A plugin with version 1 of another plugin's class. */
#include "tests/hosts/plugin.h"

#define Gauge_FIELDS \
  ztBaseClass_FIELDS \
  int32_t level;
#define Gauge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Gauge)

static int32_t gaugeWrite(const void *gauge, void *file) {
  return ztFile_of(file)->writeInt(file, ((const Gauge *)gauge)->level);
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, gaugeWrite);
}

ZT_DEFINE_CLASS(Gauge, ztBaseClass, gaugeMethods)

int32_t usePlugin(void) {
  void *gauge = makeObject();
  ztBaseClass_of(gauge)->unRef(gauge);
  return 1;
}

void *makeObject(void) {
  Gauge *gauge = Gauge_ctor(NULL, 1);
  gauge->level = 17;
  return gauge;
}
