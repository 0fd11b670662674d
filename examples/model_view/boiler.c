#include "boiler.h"

static const double roomTemperature = 20;
static const double limit = 80;

/* Properties: what the class declares, and how their values are read and written ------------------ */

static double boilerGetTemperature(const void *object) {
  return ((const Boiler *)object)->temperature;
}

static void boilerSetTemperature(void *object, double temperature) {
  ((Boiler *)object)->temperature = temperature;
}

static int32_t boilerGetBurning(const void *object) {
  return ((const Boiler *)object)->burning;
}

static void boilerSetBurning(void *object, int32_t burning) {
  ((Boiler *)object)->burning = burning;
}

static int32_t boilerInitProperties(ztClass *klass) {
  /* The engine knows integers and texts; a program makes known what else it uses. */
  ztProperty_functions()->registerNewType(NULL, "ztFloatPropertyType");
  ztProperty_functions()->registerNewType(NULL, "ztBoolPropertyType");
  const BoilerMethods *methods = klass->methodTable;
  const ztGetter getTemperature = {.getFloat = boilerGetTemperature};
  const ztSetter setTemperature = {.setFloat = boilerSetTemperature};
  const ztGetter getBurning = {.getInt = boilerGetBurning};
  const ztSetter setBurning = {.setInt = boilerSetBurning};
  return methods->addProperty(klass, "temperature", "ztFloat", getTemperature, setTemperature, NULL, NULL) &&
         methods->addProperty(klass, "burning", "ztBool", getBurning, setBurning, NULL, NULL);
}

/* The boiler at work ------------------------------------------------------------------------------ */

static void boilerPass(void *object, int32_t minutes) {
  const Boiler *boiler = object;
  const double before = boiler->temperature;
  double now = boiler->burning ? before + 4.0 * minutes : before - 1.5 * minutes;
  if (now < roomTemperature) now = roomTemperature;
  /* By its name, and not into the field, so that the views hear of it. */
  Boiler_of(object)->setProperty(object, "temperature", "ztFloat", ztWordOfDouble(now));
  if (before <= limit && now > limit) ztObject_emitDouble(object, "overheated", now);
}

static int32_t boilerCreate(void *object) {
  Boiler *boiler = object;
  boiler->temperature = roomTemperature;
  boiler->burning = 0;
  return ztBaseModel_table()->create(object);
}

static void boilerMethods(BoilerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, boilerCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, boilerInitProperties);
  ZT_OVERRIDE_METHOD(methods, pass, boilerPass);
}

ZT_DEFINE_CLASS(Boiler, ztBaseModel, boilerMethods)
