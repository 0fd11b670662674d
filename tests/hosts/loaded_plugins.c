/*
 * A host that loads plugins: `loaded_plugins SCENARIO FOLDER ROUNDS`. It has an allocator of its own in front
 * of the library's, and so knows how many blocks are allocated.
 */
#include "tests/hosts/check.h"
#include "tests/hosts/memory.h"
#include "tests/hosts/plugin.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>

static const char *folder;
static int rounds;

/* The program's own. */
#define Meter_FIELDS ztObject_FIELDS
#define Meter_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Meter)

static void meterInstancesGo(ztClass *klass) {
  printf("instances go %s\n", klass->name);
  ztObject_table()->classInstanceDestroy(klass);
}

static void meterGoes(void *prototype) {
  printf("class goes %s\n", ztOOP_classNameOf(prototype));
}

static int32_t meterProperties(ztClass *klass) {
  ztGetter none = {NULL};
  ztSetter nothing = {NULL};
  CHECK(ztOOP_declareSignal(klass, "flowed(double amount)") == 1);
  return ztObject_table()->addProperty(klass, "flow", "Flow", none, nothing, NULL, NULL);
}

static void meterMethods(MeterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, meterInstancesGo);
  ZT_OVERRIDE_METHOD(methods, initProperties, meterProperties);
}

static void meterFunctions(ztClassFunctions *functions) {
  functions->classDestroy = meterGoes;
}

ZT_DEFINE_CLASS_FULL(Meter, ztObject, meterMethods, 1, ztClassFunctions, meterFunctions)

static void *load(const char *name) {
  char path[1024];
  snprintf(path, sizeof path, "%s/libplugin_%s.so", folder, name);
  void *plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  CHECK(plugin != NULL);
  if (plugin == NULL) exit(1);
  return plugin;
}

static void closeAll(void *plugin) {
  CHECK(dlclose(plugin) == 0);
}

static void *call(void *plugin, const char *name) {
  void *found = dlsym(plugin, name);
  void *(*function)(void);
  CHECK(found != NULL);
  memcpy(&function, &found, sizeof function);
  return function();
}

static void use(void *plugin) {
  void *found = dlsym(plugin, "usePlugin");
  int32_t (*function)(void);
  memcpy(&function, &found, sizeof function);
  CHECK(function() == 1);
}

static int registeredClasses(void) {
  int count = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    CHECK(strcmp(ztOOP_classNameOf(entry->prototype), "") != 0);
    ++count;
  }
  return count;
}

static void checkGone(const char *name) {
  CHECK(!ztOOP_isClassRegistered(name));
  CHECK(ztOOP_findClass(name) == NULL);
  CHECK(ztNewFromName(name) == NULL);
}

static void makeAndRelease(const char *name) {
  void *object = ztNewFromName(name);
  CHECK(object != NULL);
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

static void closeUsed(void) {
  const int before = registeredClasses();
  void *plugin = load("pump");
  use(plugin);
  CHECK(registeredClasses() == before + 3);
  CHECK(ztProperty_functions()->getPropertyTypeClass(NULL, "FlowPropertyType") != NULL);
  closeAll(plugin);
  CHECK(registeredClasses() == before);
  CHECK(ztProperty_functions()->getPropertyTypeClass(NULL, "FlowPropertyType") == NULL);
  checkGone("Pump");
  checkGone("Valve");
  checkGone("FlowPropertyType");
}

static void closeUnused(void) {
  const int before = registeredClasses();
  closeAll(load("pump"));
  CHECK(registeredClasses() == before);
}

static void closeOneOfTwo(void) {
  void *pump = load("pump");
  void *turbine = load("turbine");
  use(pump);
  use(turbine);
  closeAll(turbine);
  checkGone("Turbine");
  checkGone("Mixer");
  makeAndRelease("Pump");
  use(pump);
  closeAll(pump);
}

static void closeOfOneName(void) {
  void *twin = load("twin");
  use(twin);
  const ztClass *registered = ztOOP_findClass("Pump");
  void *pump = load("pump");
  use(pump);
  closeAll(pump);
  CHECK(ztOOP_findClass("Pump") == registered);
  makeAndRelease("Pump");
  use(twin);
  closeAll(twin);
  checkGone("Pump");
}

/* The plugin that has the parent stays as long as the one that derives from it. */
static void closeParentFirst(void) {
  void *pump = load("pump");
  void *turbine = load("turbine");
  use(turbine);
  closeAll(pump);
  use(turbine);
  makeAndRelease("Turbine");
  closeAll(turbine);
  checkGone("Turbine");
  checkGone("Pump");
}

/* The host's own error: only the look-ups and the end of the process are to go well. */
static void closeUnderAnObject(void) {
  void *plugin = load("pump");
  void *object = call(plugin, "makeObject");
  closeAll(plugin);
  checkGone("Pump");
  makeAndRelease("ztRoot");
  ztm_free(object);
}

static int32_t flowOf(void *meter) {
  int32_t flow = -1;
  return Meter_of(meter)->getProperty(meter, "flow", "Flow", &flow) ? flow : -1;
}

static void closeAType(void) {
  void *plugin = load("pump");
  use(plugin);
  void *meter = Meter_ctor(NULL, 1);
  CHECK(flowOf(meter) == 99);
  closeAll(plugin);
  CHECK(flowOf(meter) == -1);
  Meter_of(meter)->unRef(meter);
}

static void leaveOpen(void) {
  void *meter = Meter_ctor(NULL, 1);
  Meter_of(meter)->unRef(meter);
  use(load("pump"));
  puts("end");
}

static void *leftToTheEnd;

static void closeLeft(void) {
  puts("closing");
  closeAll(leftToTheEnd);
  checkGone("Pump");
}

static void closeAtExit(void) {
  leftToTheEnd = load("pump");
  use(leftToTheEnd);
  CHECK(atexit(closeLeft) == 0);
}

static void closeAfterCleanUp(void) {
  void *plugin = load("pump");
  use(plugin);
  ztOOP_CleanUp();
  closeAll(plugin);
  CHECK(ztOOP_Init(NULL) == 1);
  ztcoreClassInit();
  plugin = load("pump");
  use(plugin);
  closeAll(plugin);
  checkGone("Pump");
}

static void round_(void) {
  void *pump = load("pump");
  void *turbine = load("turbine");
  use(pump);
  use(turbine);
  makeAndRelease("Turbine");
  makeAndRelease("Valve");
  closeAll(turbine);
  closeAll(pump);
}

static void manyRounds(void) {
  round_();
  const int classes = registeredClasses();
  const int blocks = liveBlocks;
  for (int i = 0; i < rounds; ++i) round_();
  CHECK(registeredClasses() == classes);
  CHECK(liveBlocks == blocks);
}

/* The old plugin and the new one have a class of one name, of versions 1 and 2. */
static void storeByTheOldPlugin(void *file) {
  void *plugin = load("old_gauge");
  void *gauge = call(plugin, "makeObject");
  CHECK(ztBaseClass_functions()->classWrite(NULL, gauge, file) == 1);
  CHECK(ztBaseClass_of(gauge)->write(gauge, file) == 1);
  ztBaseClass_of(gauge)->unRef(gauge);
  closeAll(plugin);
}

static int isRead(void *file) {
  CHECK(ztFile_of(file)->goToBegin(file) == 0);
  void *gauge = ztOOP_readObject(file);
  if (gauge == NULL) return 0;
  CHECK(ztOOP_versionOf(gauge) == 2);
  ztBaseClass_of(gauge)->unRef(gauge);
  return 1;
}

static void readAnOldFile(void) {
  void *file = ztFile_ctor(NULL, 1);
  CHECK(ztFile_of(file)->open(file, "gauges.bin", "w+b") == 1);
  storeByTheOldPlugin(file);
  const int blocks = liveBlocks;
  void *plugin = load("gauge");
  use(plugin); /* names a reader for version 1 */
  const ztClass *klass = ztOOP_findClass("Gauge");
  CHECK(isRead(file));
  closeAll(plugin);
  CHECK(!isRead(file));
  CHECK(ztOOP_readerOf(klass, 1) == NULL);
  CHECK(liveBlocks == blocks);

  plugin = load("gauge");
  ztBaseClass *gauge = call(plugin, "makeObject");
  CHECK(!isRead(file));
  ztBaseClass_of(gauge)->unRef(gauge);
  use(plugin);
  CHECK(isRead(file));
  closeAll(plugin);
  ztFile_of(file)->unRef(file);
}

static const Scenario scenarios[] = {
    {"used", closeUsed},
    {"unused", closeUnused},
    {"one-of-two", closeOneOfTwo},
    {"one-name", closeOfOneName},
    {"parent-first", closeParentFirst},
    {"object-alive", closeUnderAnObject},
    {"type", closeAType},
    {"open", leaveOpen},
    {"at-exit", closeAtExit},
    {"after-clean-up", closeAfterCleanUp},
    {"old-file", readAnOldFile},
    {"rounds", manyRounds},
};

int main(int argc, char **argv) {
  if (argc != 4) return 2;
  folder = argv[2];
  rounds = atoi(argv[3]);
  return RUN(scenarios, argv[1]);
}
