#include "zentova.h"
#define Gauge_FIELDS \
  ztObject_FIELDS    \
  int32_t level;
#define Gauge_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Gauge)
static int32_t gaugeLevel(const void *gauge) {
  return ((const Gauge *)gauge)->level;
}
static void gaugeSetLevel(void *gauge, int32_t level) {
  ((Gauge *)gauge)->level = level;
  ztObject_emit(gauge, "levelChanged", level);
}
static int32_t gaugeProperties(ztClass *klass) {
  return ztOOP_declareSignal(klass, "levelChanged(int32_t level)") &&
         Gauge_table()->addProperty(klass, "level", "ztInt", ZT_GETTER(getInt, gaugeLevel),
                                    ZT_SETTER(setInt, gaugeSetLevel), NULL, NULL);
}
static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, gaugeProperties);
}
ZT_DEFINE_CLASS(Gauge, ztObject, gaugeMethods)
__attribute__((constructor)) static void registerGauge(void) {
  ZT_REGISTER_CLASS(Gauge);
}
