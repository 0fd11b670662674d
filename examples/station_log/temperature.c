#include "temperature.h"

static const double absoluteZero = -273.15;

static int32_t temperatureCreate(void *object) {
  if (!Measurement_table()->create(object)) return 0;
  ((Temperature *)object)->height = 0;
  return 1;
}

static const char *temperatureSetFrom(void *object, const Row *row) {
  const char *complaint = Measurement_table()->setFrom(object, row);
  if (complaint != NULL) return complaint;
  Temperature *temperature = object;
  if (temperature->value < absoluteZero) return "the temperature is below absolute zero";
  if (!parseNumber(row->columns[columnDetail], &temperature->height)) return "the height is not a number";
  return NULL;
}

static const char *temperatureGetUnit(const void *object) {
  (void)object;
  return "C";
}

static int32_t temperatureIsEqual(const void *object, const void *other) {
  return Measurement_table()->isEqual(object, other) &&
         ((const Temperature *)object)->height == ((const Temperature *)other)->height;
}

static int32_t temperatureWrite(const void *object, void *file) {
  return Measurement_table()->write(object, file) &&
         ztFile_of(file)->writeFloat(file, ((const Temperature *)object)->height);
}

static int32_t temperatureRead(void *object, void *file) {
  return Measurement_table()->read(object, file) &&
         ztFile_of(file)->readFloat(file, &((Temperature *)object)->height);
}

static void temperatureMethods(TemperatureMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, temperatureCreate);
  ZT_OVERRIDE_METHOD(methods, isEqual, temperatureIsEqual);
  ZT_OVERRIDE_METHOD(methods, read, temperatureRead);
  ZT_OVERRIDE_METHOD(methods, write, temperatureWrite);
  ZT_OVERRIDE_METHOD(methods, setFrom, temperatureSetFrom);
  ZT_OVERRIDE_METHOD(methods, getUnit, temperatureGetUnit);
}

ZT_DEFINE_CLASS(Temperature, Measurement, temperatureMethods)
