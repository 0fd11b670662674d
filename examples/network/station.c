#include "station.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

/* Every station has its attributes from the beginning: reading a stored tag fills those that it has. */
static int32_t addAttribute(Station *station, const char *name, void *attribute, ztTagHandle *handle) {
  return attribute != NULL && ztTag_of(station)->insertNew(station, name, attribute, handle, 0, 0, NULL);
}

static int32_t stationCreate(void *object) {
  Station *station = (Station *)object;
  station->changes = 0;
  if (!ztTag_table()->create(station)) return 0;
  return addAttribute(station, "temperature", ztFloatTag_ctor(NULL, 1), &station->temperature) &&
         addAttribute(station, "rain", ztFloatTag_ctor(NULL, 1), &station->rain) &&
         addAttribute(station, "minutes", ztIntTag_ctor(NULL, 1), &station->minutes);
}

static int32_t stationGetChanges(const void *object) {
  return ((const Station *)object)->changes;
}

static int32_t stationInitProperties(ztClass *klass) {
  const ztGetter getter = {.getInt = stationGetChanges};
  const ztSetter none = {NULL};
  return ((const StationMethods *)klass->methodTable)
      ->addProperty(klass, "changes", "ztInt", getter, none, NULL, NULL);
}

static void stationAttrChanged(void *object, void *attribute) {
  ++((Station *)object)->changes;
  ztObject_emit(object, "valueChanged", (intptr_t)attribute);
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stationCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, stationInitProperties);
  ZT_OVERRIDE_METHOD(methods, attrChanged, stationAttrChanged);
}

ZT_DEFINE_CLASS(Station, ztTag, stationMethods)

int32_t stationAppend(Station *station, const ztTagHandle *handle, const void *value) {
  const StationMethods *methods = Station_of(station);
  const int32_t count = methods->getNumValues(station, handle);
  return methods->setNumValues(station, handle, count + 1, NULL) &&
         methods->setValue(station, handle, count, value);
}

static int32_t areSameValues(const Station *station, const Station *other, const ztTagHandle *handle) {
  const ztArray *values = Station_of(station)->getValues(station, handle);
  const ztArray *others = Station_of(other)->getValues(other, handle);
  if (values == NULL || others == NULL || values->count != others->count) return 0;
  const size_t size = (size_t)values->count * (size_t)values->elementSize;
  return size == 0 || memcmp(values->data, others->data, size) == 0;
}

int32_t stationIsSame(const Station *station, const Station *other) {
  return strcmp(station->name, other->name) == 0 && areSameValues(station, other, &station->temperature) &&
         areSameValues(station, other, &station->rain) && areSameValues(station, other, &station->minutes);
}

void stationPrint(Station *station) {
  const StationMethods *methods = Station_of(station);
  double temperature = 0;
  double rain = 0;
  int32_t minutes = 0;
  methods->getAverageValue(station, &station->temperature, &temperature);
  methods->getTotalValue(station, &station->rain, &rain);
  /* An attribute of integers hands out the total that the call before has taken. */
  methods->getTotalValue(station, &station->minutes, &minutes);
  methods->getTotalValue(station, &station->minutes, &minutes);
  printf("%-10s %8" PRId32 " %10.2f %8.1f %10.1f\n", methods->getName(station),
         methods->getNumValues(station, &station->temperature), temperature, rain, minutes / 60.0);
}
