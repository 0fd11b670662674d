#include "measurement.h"

#include <string.h>

static int32_t measurementCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  Measurement *measurement = object;
  memset(measurement->station, 0, sizeof measurement->station);
  memset(measurement->time, 0, sizeof measurement->time);
  measurement->value = 0;
  return 1;
}

/* From a row ----------------------------------------------------------------------------------- */

/* Takes a text over into a field of fixed size; 0 when it is empty or does not fit. */
static int32_t setText(char *field, size_t size, const char *text) {
  const size_t length = strlen(text);
  if (length == 0 || length >= size) return 0;
  memset(field, 0, size);
  memcpy(field, text, length + 1);
  return 1;
}

/* The pattern's zeros stand for digits, its other characters for themselves. */
static int32_t matches(const char *text, const char *pattern) {
  if (strlen(text) != strlen(pattern)) return 0;
  for (; *text != '\0'; ++text, ++pattern) {
    const int32_t isDigit = *text >= '0' && *text <= '9';
    if (*pattern == '0' ? !isDigit : *text != *pattern) return 0;
  }
  return 1;
}

static const char *measurementSetFrom(void *object, const Row *row) {
  Measurement *measurement = object;
  if (!setText(measurement->station, sizeof measurement->station, row->columns[columnStation])) {
    return "the name of a station has 1 to 15 characters";
  }
  if (!matches(row->columns[columnTime], "0000-00-00T00:00"))
    return "the time is not of the form 2024-03-01T06:00";
  setText(measurement->time, sizeof measurement->time, row->columns[columnTime]);
  if (!parseNumber(row->columns[columnValue], &measurement->value)) return "the value is not a number";
  return NULL;
}

static double measurementGetFigure(const void *object) {
  return ((const Measurement *)object)->value;
}

/* Comparing ------------------------------------------------------------------------------------ */

static int32_t measurementIsEqual(const void *object, const void *other) {
  const Measurement *a = object;
  const Measurement *b = other;
  /* Once the classes agree, the overrides may take both for objects of theirs. */
  return a->klass == b->klass && strcmp(a->station, b->station) == 0 && strcmp(a->time, b->time) == 0 &&
         a->value == b->value;
}

static int32_t measurementIsLess(const void *object, const void *other) {
  const Measurement *a = object;
  const Measurement *b = other;
  int order = strcmp(a->station, b->station);
  if (order == 0) order = strcmp(a->klass->name, b->klass->name);
  if (order == 0) order = strcmp(a->time, b->time);
  return order < 0;
}

/* Storing: the parent's part first, then the fields in their order ------------------------------- */

static int32_t measurementWrite(const void *object, void *file) {
  if (!ztBaseClass_table()->write(object, file)) return 0;
  const Measurement *measurement = object;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t stationSize = sizeof measurement->station;
  const int32_t timeSize = sizeof measurement->time;
  return methods->writeBuf(file, stationSize, measurement->station) == stationSize &&
         methods->writeBuf(file, timeSize, measurement->time) == timeSize &&
         methods->writeFloat(file, measurement->value);
}

static int32_t measurementRead(void *object, void *file) {
  if (!ztBaseClass_table()->read(object, file)) return 0;
  Measurement *measurement = object;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t stationSize = sizeof measurement->station;
  const int32_t timeSize = sizeof measurement->time;
  const int32_t done = methods->readBuf(file, stationSize, measurement->station) == stationSize &&
                       methods->readBuf(file, timeSize, measurement->time) == timeSize &&
                       methods->readFloat(file, &measurement->value);
  /* A damaged file may hold texts without end. */
  measurement->station[stationSize - 1] = '\0';
  measurement->time[timeSize - 1] = '\0';
  return done;
}

static void measurementMethods(MeasurementMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, measurementCreate);
  ZT_OVERRIDE_METHOD(methods, isEqual, measurementIsEqual);
  ZT_OVERRIDE_METHOD(methods, isLess, measurementIsLess);
  ZT_OVERRIDE_METHOD(methods, read, measurementRead);
  ZT_OVERRIDE_METHOD(methods, write, measurementWrite);
  ZT_OVERRIDE_METHOD(methods, setFrom, measurementSetFrom);
  ZT_OVERRIDE_METHOD(methods, getFigure, measurementGetFigure);
  ZT_ABSTRACT_METHOD(methods, getUnit);
}

ZT_DEFINE_CLASS(Measurement, ztBaseClass, measurementMethods)
