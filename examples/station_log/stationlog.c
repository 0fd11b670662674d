#include "stationlog.h"

#include "measurement.h"

#include <stdlib.h>
#include <string.h>

static int32_t fail(const char *message) {
  fprintf(stderr, "station_log: %s\n", message);
  return 0;
}

/* Loading -------------------------------------------------------------------------------------- */

static int32_t makeRoom(StationLog *log) {
  const int32_t entrySize = sizeof *log->measurements;
  if (log->count < log->room) return 1;
  if (log->room > INT32_MAX / 2 / entrySize) return 0;
  const int32_t room = log->room == 0 ? 64 : 2 * log->room;
  void **moved = ztm_realloc(log->measurements, room * entrySize);
  if (moved == NULL) return 0;
  log->measurements = moved;
  log->room = room;
  return 1;
}

/* Makes the object that a row asks for; NULL with a complaint. The kind comes from a file, so it may
   name any class or none. */
static void *newMeasurement(const Row *row, const char **complaint) {
  void *object = ztNewFromName(row->columns[columnKind]);
  if (object == NULL) {
    *complaint = "there is no such kind of measurement";
    return NULL;
  }
  if (ztOOP_isClassOf(object, Measurement_classname_)) {
    *complaint = Measurement_of(object)->setFrom(object, row);
  } else {
    *complaint = "the kind is a class, but not of measurements";
  }
  if (*complaint == NULL) return object;
  ztBaseClass_of(object)->unRef(object);
  return NULL;
}

static int32_t append(StationLog *log, const Row *row, const RowReader *reader) {
  if (!makeRoom(log)) return fail("out of memory");
  const char *complaint;
  void *measurement = newMeasurement(row, &complaint);
  if (measurement == NULL) {
    rowReaderComplain(reader, complaint);
    return 0;
  }
  log->measurements[log->count++] = measurement;
  return 1;
}

int32_t stationLogLoad(StationLog *log, const char *path) {
  RowReader reader;
  if (!rowReaderOpen(&reader, "station_log", path)) return 0;
  Row row;
  RowResult result = rowReaderNext(&reader, &row);
  while (result == rowFound) {
    result = append(log, &row, &reader) ? rowReaderNext(&reader, &row) : rowFailed;
  }
  rowReaderClose(&reader);
  if (result == rowEnd && log->count == 0) return fail("the data file has no measurements");
  return result == rowEnd;
}

/* Storing and reading back --------------------------------------------------------------------- */

/* An open file, to be released with unRef; NULL after a message. */
static void *openFile(const char *path, const char *mode) {
  void *file = ztFile_ctor(NULL, 1);
  if (file != NULL && ztFile_of(file)->open(file, path, mode)) return file;
  if (file != NULL) ztFile_of(file)->unRef(file);
  fail("cannot open the temporary file");
  return NULL;
}

/* An object is stored as the identity of its class, then what its `write` writes. */
static int32_t storeObject(const void *object, void *file) {
  return ztBaseClass_functions()->classWrite(NULL, object, file) &&
         ztBaseClass_of(object)->write(object, file);
}

/* The next measurement in the file, to be released with unRef; NULL when there is none. */
static void *readMeasurement(void *file) {
  void *object = ztBaseClass_functions()->classRead(NULL, file);
  if (object == NULL) return NULL;
  if (ztOOP_isClassOf(object, Measurement_classname_) && ztBaseClass_of(object)->read(object, file))
    return object;
  ztBaseClass_of(object)->unRef(object);
  return NULL;
}

int64_t stationLogStore(const StationLog *log, const char *path) {
  void *file = openFile(path, "wbx"); /* x: never another's file */
  if (file == NULL) return 0;
  int32_t done = 1;
  for (int32_t i = 0; done && i < log->count; ++i) done = storeObject(log->measurements[i], file);
  done = done && ztFile_of(file)->flush(file) == 0;
  const int64_t size = done ? ztFile_of(file)->tell(file) : 0;
  ztFile_of(file)->unRef(file);
  return size > 0 ? size : fail("cannot write the temporary file");
}

static int32_t isNextInFile(const void *measurement, void *file) {
  void *stored = readMeasurement(file);
  if (stored == NULL) return 0;
  const int32_t same = Measurement_of(measurement)->isEqual(measurement, stored);
  Measurement_of(stored)->unRef(stored);
  return same;
}

int32_t stationLogCompare(const StationLog *log, const char *path) {
  void *file = openFile(path, "rb");
  if (file == NULL) return 0;
  int32_t same = 1;
  for (int32_t i = 0; same && i < log->count; ++i) same = isNextInFile(log->measurements[i], file);
  ztFile_of(file)->unRef(file);
  return same ? 1 : fail("a measurement was not read back as it was stored");
}

/* The summary ---------------------------------------------------------------------------------- */

static int compareMeasurements(const void *first, const void *second) {
  const void *a = *(void *const *)first;
  const void *b = *(void *const *)second;
  if (Measurement_of(a)->isLess(a, b)) return -1;
  return Measurement_of(b)->isLess(b, a);
}

void stationLogSort(StationLog *log) {
  qsort(log->measurements, (size_t)log->count, sizeof *log->measurements, compareMeasurements);
}

static int32_t isSameGroup(const Measurement *a, const Measurement *b) {
  return a->klass == b->klass && strcmp(a->station, b->station) == 0;
}

/* Prints the group that begins at @p first and returns the index behind it. */
static int32_t printGroup(const StationLog *log, int32_t first) {
  const Measurement *leader = log->measurements[first];
  const double firstFigure = Measurement_of(leader)->getFigure(leader);
  double min = firstFigure;
  double max = firstFigure;
  double sum = 0;
  int32_t i = first;
  for (; i < log->count && isSameGroup(leader, log->measurements[i]); ++i) {
    const void *measurement = log->measurements[i];
    const double figure = Measurement_of(measurement)->getFigure(measurement);
    if (figure < min) min = figure;
    if (figure > max) max = figure;
    sum += figure;
  }
  printf("%-15s %-12s %5d %7.2f %7.2f %7.2f %s\n", leader->station, ztOOP_classNameOf(leader),
         (int)(i - first), min, sum / (i - first), max, Measurement_of(leader)->getUnit(leader));
  return i;
}

void stationLogPrint(const StationLog *log) {
  printf("%-15s %-12s %5s %7s %7s %7s\n", "Station", "Kind", "Rows", "Min", "Mean", "Max");
  for (int32_t i = 0; i < log->count;) i = printGroup(log, i);
}

void stationLogClear(StationLog *log) {
  for (int32_t i = 0; i < log->count; ++i) {
    ztBaseClass_of(log->measurements[i])->unRef(log->measurements[i]);
  }
  ztm_free(log->measurements);
  memset(log, 0, sizeof *log);
}
