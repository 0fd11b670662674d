/*
 * A measurement network as a tree of tags: reads the log of a few weather stations into it, with a view
 * that follows, prints totals and averages, and stores the tree in binary and in text. In another
 * process it loads both, and compares them with the log.
 *
 *   network store <data file> <binary file> <text file>
 *   network load <data file> <binary file> <text file>
 */
#include "board.h"
#include "network.h"
#include "station.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The files of a run, from its arguments. */
typedef struct Paths {
  const char *data;
  const char *binary;
  const char *text;
} Paths;

static void release(void *object) {
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

/* The class is known to ztNewFromName() and to ztRoot_loadTree() from its first object on. */
static int32_t makeStationsKnown(void) {
  void *first = Station_ctor(NULL, 1);
  release(first);
  return first != NULL;
}

static int32_t storeWith(const ztRoot *network, void *file, const char *path) {
  const int32_t stored = file != NULL && networkStore(network, (ztFile *)file, path);
  release(file);
  return stored;
}

static int32_t fillAndStore(ztRoot *network, Board *board, const Paths *paths) {
  ztRoot_of(network)->setName(network, "network");
  if (!boardFollow(board, network) || !networkRead(network, paths->data)) return 0;
  networkPrint(network);
  printf("The board saw %" PRId32 " stations join, %" PRId32 " values set and %" PRId32 " frosts.\n",
         board->stations, board->values, board->warnings);
  /* Who lives, who made it, and what holds it; the library knows where the environment has ZENTOVA_TRACK. */
  if (getenv("ZENTOVA_TRACK") != NULL && ztOOP_report("network.live")) puts("network.live tells what lives.");
  /* One tree, two forms: the class of the file makes the difference. */
  return storeWith(network, ztFile_ctor(NULL, 1), paths->binary) &&
         storeWith(network, ztTextFile_ctor(NULL, 1), paths->text);
}

static int32_t store(const Paths *paths) {
  ztRoot *network = (ztRoot *)ztNewFromName("ztRoot");
  Board *board = (Board *)Board_ctor(NULL, 1);
  const int32_t done = network != NULL && board != NULL && fillAndStore(network, board, paths);
  release(board);
  release(network);
  return done;
}

static int32_t compareWith(const ztRoot *network, void *file, const char *path) {
  ztRoot *loaded = file == NULL ? NULL : networkLoad((ztFile *)file, path);
  const int32_t same = loaded != NULL && networkIsSame(network, loaded);
  if (same) printf("%s as loaded from %s:\n", loaded->name, path);
  if (same) networkPrint(loaded);
  if (loaded != NULL && !same) fprintf(stderr, "network: %s differs from the data\n", path);
  release(loaded);
  release(file);
  return same;
}

static int32_t load(const Paths *paths) {
  ztRoot *network = (ztRoot *)ztNewFromName("ztRoot");
  const int32_t same = network != NULL && networkRead(network, paths->data) &&
                       compareWith(network, ztFile_ctor(NULL, 1), paths->binary) &&
                       compareWith(network, ztTextFile_ctor(NULL, 1), paths->text);
  if (same) puts("Both hold what the data file says.");
  release(network);
  return same;
}

int main(int argc, char **argv) {
  const char *task = argc == 5 ? argv[1] : "";
  const int32_t stores = strcmp(task, "store") == 0;
  if (!stores && strcmp(task, "load") != 0) {
    fputs("usage: network store|load <data file> <binary file> <text file>\n", stderr);
    return 2;
  }
  const Paths paths = {argv[2], argv[3], argv[4]};
  const int32_t done = makeStationsKnown() && (stores ? store(&paths) : load(&paths));
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
