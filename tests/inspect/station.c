/* A plugin with classes that store themselves: a node of version 2 that still reads version 1, an object, a node with a
   link. */
#include "zentova.h"

#define Station_FIELDS \
  ztRoot_FIELDS        \
  double height;       \
  ztString *note;
#define Station_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Station)

#define Reading_FIELDS \
  ztBaseClass_FIELDS   \
  int64_t time;        \
  char unit;           \
  ztIntArray *values;
#define Reading_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Reading)

#define Sensors_FIELDS ztTag_FIELDS
#define Sensors_METHODS ztTag_METHODS
ZT_DECLARE_CLASS(Sensors)

#define Signpost_FIELDS \
  ztRoot_FIELDS         \
  ztLink way;
#define Signpost_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Signpost)

static int32_t stationCreate(void *object) {
  Station *station = object;
  if (!ztRoot_table()->create(station)) return 0;
  station->height = 0;
  station->note = ztString_new();
  return station->note != NULL;
}

static void stationDestroy(void *object) {
  Station *station = object;
  if (station->note != NULL) ztString_of(station->note)->unRef(station->note);
  ztRoot_table()->destroy(station);
}

static int32_t stationWrite(const void *object, void *file) {
  const Station *station = object;
  return ztRoot_table()->write(station, file) && ztFile_of(file)->writeFloat(file, station->height) > 0 &&
         ztString_store(station->note, file);
}

static int32_t readVersion1(void *object, void *file, uint32_t version) {
  Station *station = object;
  (void)version;
  return ztRoot_table()->read(station, file) && ztFile_of(file)->readFloat(file, &station->height) > 0;
}

static int32_t stationRead(void *object, void *file) {
  Station *station = object;
  return readVersion1(station, file, 1) && ztString_load(station->note, file);
}

static double stationHeight(const void *object) {
  return ((const Station *)object)->height;
}

static void stationSetHeight(void *object, double height) {
  ((Station *)object)->height = height;
}

static int32_t stationProperties(ztClass *klass) {
  return ztProperty_registerTypes() &&
         Station_table()->addProperty(klass, "height", "ztFloat", (ztGetter){.getFloat = stationHeight},
                                      (ztSetter){.setFloat = stationSetHeight}, NULL, NULL);
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stationCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, stationDestroy);
  ZT_OVERRIDE_METHOD(methods, write, stationWrite);
  ZT_OVERRIDE_METHOD(methods, read, stationRead);
  ZT_OVERRIDE_METHOD(methods, initProperties, stationProperties);
}

ZT_DEFINE_CLASS_FULL(Station, ztRoot, stationMethods, 2, ztClassFunctions, ztOOP_noFunctions)

static int32_t readingCreate(void *object) {
  Reading *reading = object;
  if (!ztBaseClass_table()->create(reading)) return 0;
  reading->time = 0;
  reading->unit = 'm';
  reading->values = ztIntArray_new();
  return reading->values != NULL;
}

static void readingDestroy(void *object) {
  Reading *reading = object;
  if (reading->values != NULL) ztIntArray_of(reading->values)->unRef(reading->values);
  ztBaseClass_table()->destroy(reading);
}

static int32_t readingWrite(const void *object, void *file) {
  const Reading *reading = object;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeLong(file, reading->time) > 0 && methods->writeChar(file, reading->unit) > 0 &&
         ztIntArray_of(reading->values)->write(reading->values, file);
}

static int32_t readingRead(void *object, void *file) {
  Reading *reading = object;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->readLong(file, &reading->time) > 0 && methods->readChar(file, &reading->unit) > 0 &&
         ztIntArray_of(reading->values)->read(reading->values, file);
}

static void readingMethods(ReadingMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, readingCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, readingDestroy);
  ZT_OVERRIDE_METHOD(methods, write, readingWrite);
  ZT_OVERRIDE_METHOD(methods, read, readingRead);
}

ZT_DEFINE_CLASS(Reading, ztBaseClass, readingMethods)

static int32_t sensorsCreate(void *object) {
  if (!ztTag_table()->create(object)) return 0;
  const SensorsMethods *methods = Sensors_table();
  return methods->insertNew(object, "count", ztIntTag_new(), NULL, 7, 3, NULL) &&
         methods->insertNew(object, "level", ztFloatTag_new(), NULL, 8, 10, NULL);
}

static void sensorsMethods(SensorsMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, sensorsCreate);
}

ZT_DEFINE_CLASS(Sensors, ztTag, sensorsMethods)

static int32_t signpostCreate(void *object) {
  ztLink_ctor(&((Signpost *)object)->way, 1);
  return ztRoot_table()->create(object);
}

static void signpostDestroy(void *object) {
  ztLink *way = &((Signpost *)object)->way;
  ztLink_of(way)->destroy(way);
  ztRoot_table()->destroy(object);
}

static int32_t signpostWrite(const void *object, void *file) {
  const ztLink *way = &((const Signpost *)object)->way;
  return ztRoot_table()->write(object, file) && ztLink_of(way)->write(way, file);
}

static int32_t signpostRead(void *object, void *file) {
  ztLink *way = &((Signpost *)object)->way;
  return ztRoot_table()->read(object, file) && ztLink_of(way)->read(way, file);
}

/* So that what makes files can set the link without the header of this class. */
static int32_t signpostWay(const void *object) {
  return ((const Signpost *)object)->way.targetId;
}

static void signpostSetWay(void *object, int32_t uid) {
  ((Signpost *)object)->way.targetId = uid;
}

static int32_t signpostProperties(ztClass *klass) {
  return ztProperty_registerTypes() &&
         Signpost_table()->addProperty(klass, "way", "ztInt", (ztGetter){.getInt = signpostWay},
                                       (ztSetter){.setInt = signpostSetWay}, NULL, NULL);
}

static void signpostMethods(SignpostMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, signpostCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, signpostDestroy);
  ZT_OVERRIDE_METHOD(methods, write, signpostWrite);
  ZT_OVERRIDE_METHOD(methods, read, signpostRead);
  ZT_OVERRIDE_METHOD(methods, initProperties, signpostProperties);
}

ZT_DEFINE_CLASS(Signpost, ztRoot, signpostMethods)

__attribute__((constructor)) static void registerClasses(void) {
  ZT_REGISTER_CLASS(Station);
  ZT_REGISTER_CLASS(Reading);
  ZT_REGISTER_CLASS(Sensors);
  ZT_REGISTER_CLASS(Signpost);
  ztOOP_setReader(StationClass_Instance(), 1, readVersion1);
}
