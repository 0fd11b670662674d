/*
 * A model with two views. The views are connected with the model's signals and follow it from then on:
 * one shows every change of a property, the other steps in when the model raises an alarm.
 */
#include "gauge.h"
#include "warden.h"

#include <stdio.h>
#include <stdlib.h>

/* One model and its views; NULL where there is none (any more). */
typedef struct Plant {
  Boiler *boiler;
  Gauge *gauge;
  Warden *warden;
} Plant;

static void release(void *object) {
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

static int32_t plantBuild(Plant *plant) {
  plant->boiler = Boiler_ctor(NULL, 1);
  plant->gauge = Gauge_ctor(NULL, 1);
  plant->warden = Warden_ctor(NULL, 1);
  return plant->boiler != NULL && plant->gauge != NULL && plant->warden != NULL &&
         Gauge_of(plant->gauge)->follow(plant->gauge, plant->boiler) &&
         Warden_of(plant->warden)->watch(plant->warden, plant->boiler);
}

static void setBurning(void *boiler, int32_t burning) {
  Boiler_of(boiler)->setProperty(boiler, "burning", "ztBool", burning);
}

static void plantRun(Plant *plant) {
  const BoilerMethods *methods = Boiler_of(plant->boiler);
  setBurning(plant->boiler, 1);
  for (int turn = 0; turn < 3; ++turn) methods->pass(plant->boiler, 7);
  methods->pass(plant->boiler, 20);

  puts("The gauge is taken away.");
  release(plant->gauge); /* which ends its connection */
  plant->gauge = NULL;
  setBurning(plant->boiler, 1);
  methods->pass(plant->boiler, 10);
  printf("The warden stepped in %d times.\n", (int)plant->warden->alarms);
}

static void plantClear(const Plant *plant) {
  release(plant->warden);
  release(plant->gauge);
  release(plant->boiler);
}

int main(void) {
  Plant plant;
  const int32_t built = plantBuild(&plant);
  if (built) {
    plantRun(&plant);
  } else {
    fputs("model_view: out of memory\n", stderr);
  }
  plantClear(&plant);
  return built ? EXIT_SUCCESS : EXIT_FAILURE;
}
