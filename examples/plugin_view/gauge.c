/* A plugin with one class. Nothing else knows it: there is no header. */
#include "zentova.h"

#include <string.h>

#define Gauge_FIELDS \
  ztObject_FIELDS    \
  int32_t level;     \
  char unit[8];

#define Gauge_METHODS \
  ztObject_METHODS    \
  int32_t (*raise)(void *gauge, int32_t by);

ZT_DECLARE_CLASS(Gauge)

static int32_t gaugeLevel(const void *object) {
  const Gauge *gauge = object;
  return gauge->level;
}

static void gaugeSetLevel(void *object, int32_t level) {
  Gauge *gauge = object;
  gauge->level = level;
  ztObject_emit(gauge, "levelChanged", level);
}

static const char *gaugeUnit(const void *object) {
  const Gauge *gauge = object;
  return gauge->unit;
}

static int32_t gaugeRaise(void *object, int32_t by) {
  gaugeSetLevel(object, gaugeLevel(object) + by);
  return gaugeLevel(object);
}

static int32_t gaugeCreate(void *object) {
  if (!ztObject_table()->create(object)) return 0;
  Gauge *gauge = object;
  gauge->level = 0;
  strcpy(gauge->unit, "cm");
  return 1;
}

static int32_t gaugeProperties(ztClass *klass) {
  const GaugeMethods *methods = Gauge_table();
  return ztOOP_declareSignal(klass, "levelChanged(int32_t level)") &&
         methods->addProperty(klass, "level", "ztInt", (ztGetter){.getInt = gaugeLevel},
                              (ztSetter){.setInt = gaugeSetLevel}, NULL, NULL) &&
         methods->addProperty(klass, "unit", "ztCharPtr", (ztGetter){.getText = gaugeUnit}, (ztSetter){NULL},
                              NULL, NULL);
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, gaugeProperties);
  ZT_OVERRIDE_METHOD(methods, raise, gaugeRaise);
}

ZT_DEFINE_CLASS(Gauge, ztObject, gaugeMethods)

__attribute__((constructor)) static void registerClasses(void) {
  ZT_REGISTER_CLASS(Gauge);
}
