#include "limitgauge.h"

#include <pthread.h>
#include <stdio.h>

// begin watch
static void hold(void) {
  LimitGauge *gauge = LimitGauge_new();
  void *held = NULL;
  ztObject_watch(gauge, &held);       /* held becomes NULL when the gauge ends */
  LimitGauge_of(gauge)->ref(gauge);   /* a second reference does not help: */
  LimitGauge_of(gauge)->unRef(gauge); /* the first unRef ends the gauge */
  printf("the gauge is %s\n", held == NULL ? "gone" : "there");
}
// end watch

// begin threads
/* Makes a gauge in a thread of its own and hands it over. */
static void *measure(void *name) {
  LimitGauge *gauge = LimitGauge_new();
  if (gauge == NULL) return NULL;
  LimitGauge_of(gauge)->setName(gauge, name);
  LimitGauge_of(gauge)->measure(gauge, 412.5);
  return gauge; /* from here on it is the other thread's */
}

static int measureTwo(void) {
  const char *const names[] = {"Intake", "Outlet"};
  pthread_t threads[2];
  for (int i = 0; i < 2; ++i)
    if (pthread_create(&threads[i], NULL, measure, (void *)names[i]) != 0) return 0;
  for (int i = 0; i < 2; ++i) {
    void *result = NULL;
    pthread_join(threads[i], &result); /* orders memory */
    LimitGauge *gauge = LimitGauge_cast(result);
    if (gauge == NULL) return 0;
    printf("%s: %.1f cm\n", gauge->name, gauge->level);
    LimitGauge_of(gauge)->unRef(gauge);
  }
  return 1;
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
  hold();
  const int done = measureTwo();
  fail();
  return done ? 0 : 1;
}
// end main
