/*
 * A host that uses the functions that check: `safe_hands SCENARIO`. What it prints shows the lines that the library
 * logs about its slips.
 */
#include "zentova.h"

#include "tests/hosts/check.h"
#include "tests/hosts/memory.h"

/* A class that declares a signal. */
#define Meter_FIELDS ztObject_FIELDS
#define Meter_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Meter)

static int32_t meterProperties(ztClass *klass) {
  return ztOOP_declareSignal(klass, "measured(int32_t channel, double value, const char *unit)");
}

static void meterMethods(MeterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, meterProperties);
}

ZT_DEFINE_CLASS(Meter, ztObject, meterMethods)

/* A class that declares nothing by itself. */
#define Silent_FIELDS ztObject_FIELDS
#define Silent_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Silent)

static void silentMethods(SilentMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Silent, ztObject, silentMethods)

static char told[200];

static void measured(void *receiver, int32_t channel, double value, const char *unit) {
  (void)receiver;
  snprintf(told, sizeof told, "%d: %.1f %s", channel, value, unit);
}

static void levelChanged(void *receiver, intptr_t level) {
  (void)receiver;
  snprintf(told, sizeof told, "level %d", (int)level);
}

static void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

/* All of it as a program has it. */
static void useAll(void) {
  void *meter = Meter_ctor(NULL, 1);
  void *panel = ztObject_ctor(NULL, 1);
  void *watched = NULL;
  int32_t level = 0;
  double height = 0;
  const char *place = NULL;
  CHECK(ztObject_addInt(meter, "level", 3) && ztObject_setInt(meter, "level", 4));
  CHECK(ztObject_getInt(meter, "level", &level) && level == 4);
  CHECK(ztObject_addFloat(meter, "height", 2.5) && ztObject_getFloat(meter, "height", &height) &&
        height == 2.5);
  CHECK(ztObject_addText(meter, "place", "north") && ztObject_getText(meter, "place", &place));
  CHECK(place != NULL && strcmp(place, "north") == 0);
  CHECK(!ztObject_setInt(meter, "levl", 5));
  CHECK(!ztObject_setFloat(meter, "level", 5));
  CHECK(ztObject_connect(meter, "measured", panel, ZT_SLOT(measured), 3) == 1);
  CHECK(ztObject_connect(meter, "mesured", panel, ZT_SLOT(measured), 3) == 1);
  CHECK(ztObject_onChange(meter, "level", panel, (ztSlotFunction){.call1 = levelChanged}) == 1);
  static const ztArgument arguments[] = {ZT_INT(7), ZT_FLOAT(1.5), ZT_POINTER("bar")};
  CHECK(ztObject_emitArgs(meter, "measured", arguments, 3) == 1 && strcmp(told, "7: 1.5 bar") == 0);
  CHECK(ztObject_setInt(meter, "level", 9) && strcmp(told, "level 9") == 0);
  CHECK(ztObject_watch(meter, &watched) == 1 && watched == meter);
  release(meter);
  CHECK(watched == NULL);
  release(panel);
}

/* The declarations of classes go with a clean-up, and are there again. */
static void restart(void) {
  void *meter = Meter_ctor(NULL, 1);
  void *panel = ztObject_ctor(NULL, 1);
  CHECK(ztObject_connect(meter, "before", panel, ZT_SLOT(measured), 3) == 1);
  ztOOP_CleanUp();
  CHECK(MeterClass_Instance() != NULL && Meter_table()->staticProperties == NULL);
  /* No class has declared anything yet. */
  CHECK(ztObject_connect(meter, "between", panel, ZT_SLOT(measured), 3) == 1);
  CHECK(ztObject_findProperty(meter, "refCount") != NULL);
  CHECK(ztObject_connect(meter, "after", panel, ZT_SLOT(measured), 3) == 1);
  ztOOP_Init(NULL);
  ztcoreClassInit();
  CHECK(ztObject_connect(meter, "again", panel, ZT_SLOT(measured), 3) == 1);
  release(meter);
  release(panel);
}

/* The first declaration of a process. */
static void declareWithoutMemory(void) {
  release(Silent_ctor(NULL, 1));
  for (int given = 0;; ++given) {
    const int before = liveBlocks;
    blocksLeft = given;
    const int32_t done = ztOOP_declareSignal(SilentClass_Instance(), "heard");
    blocksLeft = -1;
    CHECK(done ? given == 3 : liveBlocks == before);
    if (done || given > 3) break;
  }
  CHECK(ztOOP_declareSignal(SilentClass_Instance(), "heard") == 1);
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {
      {"all", useAll}, {"restart", restart}, {"exhausted", declareWithoutMemory}};
  return RUN(scenarios, argc > 1 ? argv[1] : "");
}
