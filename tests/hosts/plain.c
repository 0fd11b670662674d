/* A small host: makes objects by name and by function, stores one, reads it back and ends. */
#include "zentova.h"

#include "tests/hosts/check.h"

#include <string.h>

#define Station_FIELDS \
  ztBaseClass_FIELDS   \
  double height;
#define Station_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Station)

static int32_t stationCreate(void *station) {
  if (!ztBaseClass_table()->create(station)) return 0;
  ((Station *)station)->height = 0;
  return 1;
}

static int32_t stationWrite(const void *station, void *file) {
  if (!ztBaseClass_table()->write(station, file)) return 0;
  return ztFile_of(file)->writeFloat(file, ((const Station *)station)->height);
}

static int32_t stationRead(void *station, void *file) {
  if (!ztBaseClass_table()->read(station, file)) return 0;
  return ztFile_of(file)->readFloat(file, &((Station *)station)->height);
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stationCreate);
  ZT_OVERRIDE_METHOD(methods, write, stationWrite);
  ZT_OVERRIDE_METHOD(methods, read, stationRead);
}

ZT_DEFINE_CLASS(Station, ztBaseClass, stationMethods)

int main(void) {
  puts("host starts");
  Station *station = Station_ctor(NULL, 1);
  station->height = 1820.5;
  void *file = ztNewFromName("ztFile");
  CHECK(ztFile_of(file)->open(file, "station.bin", "w+b") == 1);
  CHECK(ztBaseClass_functions()->classWrite(NULL, station, file) == 1);
  CHECK(Station_of(station)->write(station, file) == 1);
  Station_of(station)->unRef(station);

  CHECK(ztFile_of(file)->goToBegin(file) == 0);
  Station *read = ztBaseClass_functions()->classRead(NULL, file);
  CHECK(read != NULL && StationIsClass(NULL, read, "Station") == 1);
  CHECK(read != NULL && Station_of(read)->read(read, file) == 1 && read->height == 1820.5);
  if (read != NULL) Station_of(read)->unRef(read);
  ztFile_of(file)->unRef(file);
  CHECK(ztNewFromName("Nobody") == NULL);
  puts("host ends");
  return failedChecks != 0;
}
