#include "network.h"

#include "../common/row.h"
#include "station.h"

#include <string.h>

static void complain(const char *what, const char *path) {
  fprintf(stderr, "network: cannot %s %s\n", what, path);
}

/* Reading the data ------------------------------------------------------------------------------ */

static Station *stationAt(const ztRoot *network, int32_t index) {
  return (Station *)ztRoot_of(network)->getChildAt(network, index);
}

static Station *findStation(const ztRoot *network, const char *name) {
  for (int32_t i = 0; i < ztRoot_of(network)->getChildCount(network); ++i) {
    Station *station = stationAt(network, i);
    if (strcmp(station->name, name) == 0) return station;
  }
  return NULL;
}

/* The network's own reference to a station is the only one that it needs: the station ends with it. */
static Station *addStation(ztRoot *network, const char *name) {
  Station *station = (Station *)ztNewFromName("Station");
  if (station == NULL) return NULL;
  Station_of(station)->setName(station, name);
  ztRoot_of(network)->addChild(network, station);
  return station;
}

static int32_t addReading(ztRoot *network, const Row *row) {
  const char *name = row->columns[columnStation];
  Station *station = findStation(network, name);
  if (station == NULL) station = addStation(network, name);
  double value;
  double detail;
  if (station == NULL || !parseNumber(row->columns[columnValue], &value)) return 0;
  if (strcmp(row->columns[columnKind], "Temperature") == 0) {
    return stationAppend(station, &station->temperature, &value);
  }
  if (strcmp(row->columns[columnKind], "Rainfall") != 0) return 0;
  if (!parseNumber(row->columns[columnDetail], &detail) || detail < 0 || detail > 1e6) return 0;
  const int32_t minutes = (int32_t)detail;
  return stationAppend(station, &station->rain, &value) &&
         stationAppend(station, &station->minutes, &minutes);
}

int32_t networkRead(ztRoot *network, const char *dataPath) {
  RowReader reader;
  if (!rowReaderOpen(&reader, "network", dataPath)) return 0;
  Row row;
  RowResult result;
  while ((result = rowReaderNext(&reader, &row)) == rowFound) {
    if (addReading(network, &row)) continue;
    rowReaderComplain(&reader, "the row is no temperature and no rainfall");
    result = rowFailed;
    break;
  }
  rowReaderClose(&reader);
  return result == rowEnd;
}

/* Storing and loading --------------------------------------------------------------------------- */

int32_t networkStore(const ztRoot *network, ztFile *file, const char *path) {
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t stored =
      methods->open(file, path, "wb") && ztRoot_storeTree(network, file) > 0 && methods->flush(file) == 0;
  methods->close(file);
  if (!stored) complain("write", path);
  return stored;
}

static ztRoot *takeRoot(ztFile *file, ztPtrArray *roots) {
  ztTreeReport report;
  if (!ztRoot_loadTree(file, -1, roots, &report)) return NULL;
  ztRoot *root = (ztRoot *)ztPtrArray_of(roots)->getFront(roots);
  if (roots->count == 1 && report.orphans == 0 && report.doubles == 0) return root;
  for (int32_t i = 0; i < roots->count; ++i) {
    root = (ztRoot *)ztPtrArray_of(roots)->getAt(roots, i);
    ztRoot_of(root)->unRef(root);
  }
  return NULL;
}

ztRoot *networkLoad(ztFile *file, const char *path) {
  const ztFileMethods *methods = ztFile_of(file);
  ztPtrArray *roots = (ztPtrArray *)ztPtrArray_ctor(NULL, 1);
  ztRoot *network = NULL;
  if (roots != NULL && methods->open(file, path, "rb")) network = takeRoot(file, roots);
  methods->close(file);
  if (roots != NULL) ztPtrArray_of(roots)->unRef(roots);
  if (network == NULL) complain("read", path);
  return network;
}

/* Comparing and printing ------------------------------------------------------------------------ */

int32_t networkIsSame(const ztRoot *network, const ztRoot *other) {
  const int32_t count = ztRoot_of(network)->getChildCount(network);
  int32_t same = ztRoot_of(other)->getChildCount(other) == count;
  for (int32_t i = 0; same && i < count; ++i)
    same = stationIsSame(stationAt(network, i), stationAt(other, i));
  return same;
}

void networkPrint(const ztRoot *network) {
  printf("%-10s %8s %10s %8s %10s\n", "station", "readings", "mean C", "rain mm", "hours");
  for (int32_t i = 0; i < ztRoot_of(network)->getChildCount(network); ++i)
    stationPrint(stationAt(network, i));
}
