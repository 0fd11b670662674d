/*
 * Reads the log of a few weather stations, makes an object of each row by the name of its class,
 * stores the objects in a binary file, reads them back, compares, and prints a summary.
 *
 *   station_log <data file>
 */
#include "rainfall.h"
#include "stationlog.h"
#include "temperature.h"

#include <inttypes.h>
#include <stdlib.h>

/* Makes a class of the host known to ztNewFromName() and classRead(): the engine registers a class
   with the first object of its own, even one that lives no longer than this. Measurement, the parent,
   needs no name, for no row is just a measurement. */
static int32_t makeKnown(ztCtor ctor) {
  void *first = ctor(NULL, 1);
  if (first == NULL) return 0;
  ztBaseClass_of(first)->unRef(first);
  return 1;
}

static int32_t storeAndCompare(const StationLog *log) {
  char path[L_tmpnam];
  const ztFileFunctions *files = ztFile_functions();
  if (files->tmpFile(NULL, path) == NULL) {
    fputs("station_log: cannot name a temporary file\n", stderr);
    return 0;
  }
  const int64_t size = stationLogStore(log, path);
  const int32_t same = size > 0 && stationLogCompare(log, path);
  files->deleteFile(NULL, path);
  if (same) printf("Stored in %" PRId64 " bytes and read back: all are equal.\n\n", size);
  return same;
}

static int32_t run(StationLog *log, const char *path) {
  if (!makeKnown(Temperature_ctor) || !makeKnown(Rainfall_ctor)) return 0;
  if (!stationLogLoad(log, path)) return 0;
  printf("Read %d measurements.\n", (int)log->count);
  if (!storeAndCompare(log)) return 0;
  stationLogSort(log);
  stationLogPrint(log);
  return 1;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fputs("usage: station_log <data file>\n", stderr);
    return 2;
  }
  StationLog log = {NULL, 0, 0};
  const int32_t done = run(&log, argv[1]);
  stationLogClear(&log);
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
