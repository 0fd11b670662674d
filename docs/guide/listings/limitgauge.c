#include "limitgauge.h"

// begin measure
static int32_t limitGaugeCreate(void *object) {
  if (!Gauge_table()->create(object)) return 0;
  ((LimitGauge *)object)->limit = 500;
  return 1;
}

/* As any gauge; and an alarm. */
static void limitGaugeMeasure(void *object, double level) {
  const LimitGauge *gauge = object;
  Gauge_table()->measure(object, level);
  if (level > gauge->limit) ztObject_emitDouble(object, "alarm", level);
}
// end measure

// begin properties
static double limitGaugeLevel(const void *object) {
  return ((const LimitGauge *)object)->level;
}

static double limitGaugeLimit(const void *object) {
  return ((const LimitGauge *)object)->limit;
}

static void limitGaugeSetLimit(void *object, double limit) {
  ((LimitGauge *)object)->limit = limit;
}

static int32_t limitGaugeProperties(ztClass *klass) {
  const LimitGaugeMethods *methods = LimitGauge_table();
  return ztProperty_registerTypes() && ztOOP_declareSignal(klass, "alarm(double level)") &&
         methods->addProperty(klass, "level", "ztFloat", ZT_GETTER(getFloat, limitGaugeLevel),
                              ZT_SETTER(setFloat, NULL), NULL, NULL) &&
         methods->addProperty(klass, "limit", "ztFloat", ZT_GETTER(getFloat, limitGaugeLimit),
                              ZT_SETTER(setFloat, limitGaugeSetLimit), NULL, NULL);
}
// end properties

// begin store
static int32_t limitGaugeWrite(const void *object, void *file) {
  const LimitGauge *gauge = object;
  return Gauge_table()->write(gauge, file) && ztFile_of(file)->writeFloat(file, gauge->level) &&
         ztFile_of(file)->writeFloat(file, gauge->limit);
}

static int32_t limitGaugeRead(void *object, void *file) {
  LimitGauge *gauge = object;
  return Gauge_table()->read(gauge, file) && ztFile_of(file)->readFloat(file, &gauge->level) &&
         ztFile_of(file)->readFloat(file, &gauge->limit);
}
// end store

// begin methods
static void limitGaugeMethods(LimitGaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, limitGaugeCreate);
  ZT_OVERRIDE_METHOD(methods, measure, limitGaugeMeasure);
  ZT_OVERRIDE_METHOD(methods, initProperties, limitGaugeProperties);
  ZT_OVERRIDE_METHOD(methods, write, limitGaugeWrite); /* as in chapter 3 */
  ZT_OVERRIDE_METHOD(methods, read, limitGaugeRead);
}

ZT_DEFINE_CLASS(LimitGauge, Gauge, limitGaugeMethods)
// end methods
