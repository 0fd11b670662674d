#include "plant.h"

#include <pthread.h>
#include <stdio.h>

// begin watch
static void hold(ztRoot *plant) {
  LimitGauge *gauge = LimitGauge_cast(pumpOf(plant)->gauge.target); /* the basin's */
  void *held = NULL;
  ztObject_watch(gauge, &held); /* held becomes NULL when the gauge ends */
  ztRoot_of(plant)->unRef(plant);
  printf("the gauge is %s\n", held == NULL ? "gone" : "there");
}

static void refOnce(void) {
  LimitGauge *gauge = LimitGauge_new();
  void *held = NULL;
  ztObject_watch(gauge, &held);
  LimitGauge_of(gauge)->ref(gauge);
  LimitGauge_of(gauge)->unRef(gauge); /* ends the gauge, in spite of ref */
  printf("the other gauge is %s\n", held == NULL ? "gone" : "there");
}
// end watch

// begin threads
/* Opens the plant in a thread of its own, and hands it over. */
static void *load(void *path) {
  return openPlant(path); /* from here on it is the other thread's, with all that is connected to it */
}

static ztRoot *loadBeside(char *path) {
  pthread_t thread;
  void *plant = NULL;
  if (pthread_create(&thread, NULL, load, path) != 0) return NULL;
  /* Meanwhile, this thread uses other objects. */
  pthread_join(thread, &plant); /* orders memory */
  return plant;
}
// end threads

// begin errors
static void fail(void) {
  ztFile *file = ztFile_new();
  printf("open: %d\n", (int)ztFile_of(file)->open(file, "missing/readings.bin", "rb"));
  printf("write without a file: %d\n", (int)ztFile_of(file)->writeInt(file, 3));
  ztFile_of(file)->open(file, "/dev/full", "wb");                 /* a disk without space */
  printf("write: %d\n", (int)ztFile_of(file)->writeInt(file, 3)); /* into the buffer only */
  printf("flush: %s\n", ztFile_of(file)->flush(file) == 0 ? "written" : "lost");
  ztFile_of(file)->unRef(file);
  printf("no object: %d\n", ztNewFromName("Turbine") != NULL); /* and a line in the log */
}
// end errors

// begin main
int main(void) {
  char path[] = "plant.bin";
  ztRoot *plant = newPlant();
  const int saved = ztRoot_saveTree(plant, path, 0);
  hold(plant);
  refOnce();

  plant = saved != 0 ? loadBeside(path) : NULL;
  if (plant == NULL) return 1;
  printTree(plant, 0);
  ztRoot_of(plant)->unRef(plant);
  fail();
  return 0;
}
// end main
