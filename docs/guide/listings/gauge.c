#include "gauge.h"

static int32_t gaugeCreate(void *object) {
  Gauge *gauge = object;
  if (!ztRoot_table()->create(gauge)) return 0; /* the parent's version first */
  gauge->level = 0;
  return 1;
}

static void gaugeMeasure(void *object, double level) {
  Gauge *gauge = object;
  gauge->level = level;
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, measure, gaugeMeasure);
}

ZT_DEFINE_CLASS(Gauge, ztRoot, gaugeMethods)
