/* A plugin with a class of version 2, which reads the files of version 1. */
#include "tests/hosts/plugin.h"

#define Gauge_FIELDS \
  ztBaseClass_FIELDS \
  int32_t level;     \
  double limit;
#define Gauge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Gauge)

static int32_t gaugeRead(void *object, void *file) {
  Gauge *gauge = object;
  return ztFile_of(file)->readInt(file, &gauge->level) && ztFile_of(file)->readFloat(file, &gauge->limit);
}

static int32_t gaugeReadOne(void *object, void *file, uint32_t version) {
  Gauge *gauge = object;
  gauge->limit = 100;
  return version == 1 && ztFile_of(file)->readInt(file, &gauge->level) && gauge->level == 17;
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, read, gaugeRead);
}

ZT_DEFINE_CLASS_FULL(Gauge, ztBaseClass, gaugeMethods, 2, ztClassFunctions, ztOOP_noFunctions)

int32_t usePlugin(void) {
  void *gauge = makeObject();
  ztBaseClass_of(gauge)->unRef(gauge);
  return ztOOP_setReader(GaugeClass_Instance(), 1, gaugeReadOne);
}

void *makeObject(void) {
  return Gauge_ctor(NULL, 1);
}
