#include "rainfall.h"

static const int32_t minutesOfHour = 60;
static const int32_t minutesOfDay = 1440;

static int32_t rainfallCreate(void *object) {
  if (!Measurement_table()->create(object)) return 0;
  ((Rainfall *)object)->minutes = minutesOfHour;
  return 1;
}

static int32_t isPeriod(double minutes) {
  return minutes >= 1 && minutes <= minutesOfDay && minutes == (int32_t)minutes;
}

static const char *rainfallSetFrom(void *object, const Row *row) {
  const char *complaint = Measurement_table()->setFrom(object, row);
  if (complaint != NULL) return complaint;
  Rainfall *rainfall = object;
  if (rainfall->value < 0) return "the rainfall is negative";
  double minutes;
  if (!parseNumber(row->columns[columnDetail], &minutes) || !isPeriod(minutes)) {
    return "the period is not a whole number of minutes from 1 to 1440";
  }
  rainfall->minutes = (int32_t)minutes;
  return NULL;
}

static double rainfallGetFigure(const void *object) {
  return Measurement_table()->getFigure(object) * minutesOfHour / ((const Rainfall *)object)->minutes;
}

static const char *rainfallGetUnit(const void *object) {
  (void)object;
  return "mm/h";
}

static int32_t rainfallIsEqual(const void *object, const void *other) {
  return Measurement_table()->isEqual(object, other) &&
         ((const Rainfall *)object)->minutes == ((const Rainfall *)other)->minutes;
}

static int32_t rainfallWrite(const void *object, void *file) {
  return Measurement_table()->write(object, file) &&
         ztFile_of(file)->writeInt(file, ((const Rainfall *)object)->minutes);
}

static int32_t rainfallRead(void *object, void *file) {
  Rainfall *rainfall = object;
  return Measurement_table()->read(object, file) && ztFile_of(file)->readInt(file, &rainfall->minutes) &&
         isPeriod(rainfall->minutes);
}

static void rainfallMethods(RainfallMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, rainfallCreate);
  ZT_OVERRIDE_METHOD(methods, isEqual, rainfallIsEqual);
  ZT_OVERRIDE_METHOD(methods, read, rainfallRead);
  ZT_OVERRIDE_METHOD(methods, write, rainfallWrite);
  ZT_OVERRIDE_METHOD(methods, setFrom, rainfallSetFrom);
  ZT_OVERRIDE_METHOD(methods, getFigure, rainfallGetFigure);
  ZT_OVERRIDE_METHOD(methods, getUnit, rainfallGetUnit);
}

ZT_DEFINE_CLASS(Rainfall, Measurement, rainfallMethods)
