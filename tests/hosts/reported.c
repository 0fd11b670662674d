/* Makes and leaves objects, in the way that the first argument names, for reports of what lives. */
#include "tests/hosts/check.h"
#include "tests/hosts/left.h"
#include "zentova.h"

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

/* A gauge keeps a list, which it makes itself. */
#define Gauge_FIELDS \
  ztRoot_FIELDS      \
  ztIntList *readings;
#define Gauge_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Gauge)

static int32_t gaugeCreate(void *object) {
  Gauge *gauge = object;
  if (!ztRoot_table()->create(gauge)) return 0;
  gauge->readings = ztIntList_new();
  return gauge->readings != NULL;
}

static void gaugeDestroy(void *object) {
  Gauge *gauge = object;
  ztIntList_of(gauge->readings)->unRef(gauge->readings);
  ztRoot_table()->destroy(gauge);
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, gaugeDestroy);
}

ZT_DEFINE_CLASS(Gauge, ztRoot, gaugeMethods)

static void onLevel(void *panel, intptr_t level) {
  (void)panel;
  (void)level;
}

__attribute__((noinline)) static Gauge *makeGauge(const char *name) {
  Gauge *gauge = Gauge_new();
  Gauge_of(gauge)->setName(gauge, name);
  return gauge;
}

__attribute__((noinline)) static ztObject *leaveObject(void) {
  return leave(ztObject_new());
}

static void reportPlant(void) {
  ztRoot *plant = ztRoot_new();
  ztRoot_of(plant)->setName(plant, "plant \"A\"\n");
  for (int i = 0; i < 2; ++i) ztRoot_of(plant)->addChild(plant, makeGauge(i == 0 ? "first" : "second"));
  ztObject *panel = ztObject_new();
  void *first = ztRoot_of(plant)->getChildAt(plant, 0);
  CHECK(ztObject_connect(first, "levelChanged", panel, ZT_SLOT(onLevel), 1));
  ztPtrArray *chosen = ztPtrArray_new();
  CHECK(ztPtrArray_of(chosen)->pushBack(chosen, first) != NULL);
  ztMap *map = ztMap_new();
  ztString *text = ztString_new();
  ztString_of(text)->set(text, "hello");
  void **block = ztm_alloc(sizeof(void *));
  *block = text;
  CHECK(ztOOP_report("report.txt") == 1);
  ztm_free(block);
  release(text);
  release(map);
  release(chosen);
  release(plant);
  release(panel);
  leaveObject();
  CHECK(ztOOP_report("later.txt") == 1);
}

static void refusals(void) {
  CHECK(ztOOP_report(NULL) == 0);
  CHECK(ztOOP_report("missing/report.txt") == 0);
}

static void traceLives(void) {
  Gauge *gauge = makeGauge("gauge");
  ztString *texts[2];
  for (int i = 0; i < 2; ++i) {
    texts[i] = ztString_new();
    ztString_of(texts[i])->set(texts[i], "hello");
  }
  ztObject *panel = ztObject_new();
  CHECK(ztObject_emit(gauge, "levelChanged", 1) == 0);
  CHECK(ztObject_connect(gauge, "levelChanged", panel, ZT_SLOT(onLevel), 1));
  CHECK(ztObject_emit(gauge, "levelChanged", 1) == 1);
  CHECK(ztObject_emit(NULL, "levelChanged", 1) == 0);
  for (int i = 0; i < 2; ++i) release(texts[i]);
  release(gauge);
  release(panel);
}

/* What the program frees past the library, and takes again. */
static void freePastTheLibrary(void) {
  free(ztBaseClass_new());
  free(ztm_alloc(1 << 22));
  void *block = ztm_alloc(64);
  void *moved = realloc(block, 1 << 22);
  CHECK(moved != NULL);
  free(moved);
  CHECK(ztOOP_report("report.txt") == 1);
  for (int i = 0; i < 100; ++i) release(ztBaseClass_new());
  CHECK(ztOOP_report("report.txt") == 1);
}

/* Objects inside the block of an array, which moves. */
static void holdByValue(void) {
  ztObject *object = ztObject_new();
  ztArray *array = newArrayOf(ztObject_ctor, object, 20);
  release(object);
  CHECK(ztOOP_report("report.txt") == 1);
  release(array);
}

/* More than is written at a time. */
static void reportMany(void) {
  ztRoot *plant = ztRoot_new();
  for (int i = 0; i < 300; ++i) ztRoot_of(plant)->addChild(plant, ztRoot_new());
  CHECK(ztOOP_report("report.txt") == 1);
  release(plant);
}

/* More places than a report keeps the names of. */
#define PLACE(name)         \
  static void *name(void) { \
    return ztObject_new();  \
  }
#define PLACES(first) \
  PLACE(first##0) PLACE(first##1) PLACE(first##2) PLACE(first##3) PLACE(first##4) PLACE(first##5)
#define NAMES(first) first##0, first##1, first##2, first##3, first##4, first##5
PLACES(inA)
PLACES(inB)
PLACES(inC)
PLACES(inD)

static void reportPlaces(void) {
  void *(*const places[])(void) = {NAMES(inA), NAMES(inB), NAMES(inC), NAMES(inD)};
  void *made[sizeof places / sizeof *places];
  for (size_t i = 0; i < sizeof places / sizeof *places; ++i) made[i] = places[i]();
  CHECK(ztOOP_report("report.txt") == 1);
  for (size_t i = 0; i < sizeof places / sizeof *places; ++i) release(made[i]);
}

/* A disk without space for a report. */
static void fillTheDisk(void) {
  CHECK(ztOOP_report("report.txt") == 1);
  const struct rlimit few = {100, RLIM_INFINITY};
  signal(SIGXFSZ, SIG_IGN);
  CHECK(setrlimit(RLIMIT_FSIZE, &few) == 0);
  ztRoot *plant = ztRoot_new();
  CHECK(ztOOP_report("report.txt") == 0);
  release(plant);
}

/* Nodes inside the block of an array, each with a child, and what holds some of them. */
static void holdNodesByValue(void) {
  ztRoot *node = ztRoot_new();
  ztArray *array = newArrayOf(ztRoot_ctor, node, 3);
  release(node);
  ztPtrArray *chosen = ztPtrArray_new();
  for (int i = 1; i < 3; ++i) ztPtrArray_of(chosen)->pushBack(chosen, ztArray_of(array)->getAt(array, i));
  ztPtrList *last = ztPtrList_new();
  ztPtrList_of(last)->pushBack(last, ztArray_of(array)->getAt(array, 2));
  for (int i = 0; i < 3; ++i) {
    ztRoot *element = ztArray_of(array)->getAt(array, i);
    ztRoot_of(element)->setName(element, "element");
    ztRoot_of(element)->addChild(element, ztRoot_new());
  }
  void *block = ztm_alloc(1 << 22); /* where every word is looked at */
  memset(block, 0xff, 1 << 22);
  CHECK(ztOOP_report("report.txt") == 1);
  ztm_free(block);
  release(array);
  release(chosen);
  release(last);
}

static void *makeAndRelease(void *ignored) {
  for (int i = 0; i < 300; ++i) {
    Gauge *gauge = makeGauge("gauge");
    ztIntList_of(gauge->readings)->pushBack(gauge->readings, &i);
    release(gauge);
  }
  return ignored;
}

static void *reportOften(void *fileName) {
  for (int i = 0; i < 5; ++i) CHECK(ztOOP_report(fileName) == 1);
  return NULL;
}

static void reportOtherThreads(void) {
  pthread_t threads[3];
  pthread_t reporter;
  char file[] = "report.txt";
  char other[] = "other.txt";
  for (int i = 0; i < 3; ++i) CHECK(pthread_create(&threads[i], NULL, makeAndRelease, NULL) == 0);
  CHECK(pthread_create(&reporter, NULL, reportOften, other) == 0);
  reportOften(file);
  for (int i = 0; i < 3; ++i) pthread_join(threads[i], NULL);
  pthread_join(reporter, NULL);
}

static void leaveToAChild(void) {
  leaveObject();
  fflush(NULL);
  if (fork() == 0) exit(0);
}

static void leavePlugins(void) {
  void *plugin = dlopen(ZT_PLUGIN, RTLD_NOW);
  CHECK(plugin != NULL);
  if (plugin == NULL) return;
  void *(*makeObject)(void);
  *(void **)&makeObject = dlsym(plugin, "makeObject");
  leave(makeObject());
  dlclose(plugin);
  CHECK(ztOOP_report("report.txt") == 1);
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {
      {"places", reportPlaces},     {"many", reportMany},     {"full", fillTheDisk},
      {"plant", reportPlant},       {"refusals", refusals},   {"lives", traceLives},
      {"past", freePastTheLibrary}, {"values", holdByValue},  {"threads", reportOtherThreads},
      {"nodes", holdNodesByValue},  {"child", leaveToAChild}, {"plugin", leavePlugins},
  };
  return RUN(scenarios, argc > 1 ? argv[1] : "");
}
