#include <zentova.h>

/* A class that no program knows: there is no header. */
#define Thermometer_FIELDS \
  ztRoot_FIELDS            \
  double celsius;
#define Thermometer_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Thermometer)

static int32_t thermometerCreate(void *object) {
  if (!ztRoot_table()->create(object)) return 0;
  ((Thermometer *)object)->celsius = 0;
  return 1;
}

static double thermometerCelsius(const void *object) {
  return ((const Thermometer *)object)->celsius;
}

static void thermometerSetCelsius(void *object, double celsius) {
  ((Thermometer *)object)->celsius = celsius;
  ztObject_emitDouble(object, "measured", celsius);
}

static int32_t thermometerProperties(ztClass *klass) {
  return ztProperty_registerTypes() && ztOOP_declareSignal(klass, "measured(double celsius)") &&
         Thermometer_table()->addProperty(klass, "celsius", "ztFloat",
                                          ZT_GETTER(getFloat, thermometerCelsius),
                                          ZT_SETTER(setFloat, thermometerSetCelsius), NULL, NULL);
}

static void thermometerMethods(ThermometerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, thermometerCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, thermometerProperties);
}

ZT_DEFINE_CLASS(Thermometer, ztRoot, thermometerMethods)

/* Runs when the plugin is loaded. When it is unloaded, the class leaves by itself. */
__attribute__((constructor)) static void load(void) {
  ZT_REGISTER_CLASS(Thermometer);
}
