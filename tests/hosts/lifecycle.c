/* Stops and starts the engine in the ways that the argument names. */
#include "zentova.h"

#include "tests/hosts/check.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

#define Lamp_FIELDS ztBaseClass_FIELDS
#define Lamp_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Lamp)
#define Torch_FIELDS Lamp_FIELDS
#define Torch_METHODS Lamp_METHODS
ZT_DECLARE_CLASS(Torch)

static void lampMethods(LampMethods *methods) {
  (void)methods;
}

static void torchMethods(TorchMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Lamp, ztBaseClass, lampMethods)
ZT_DEFINE_CLASS(Torch, Lamp, torchMethods)

static void makeAndRelease(ztCtor ctor) {
  void *object = ctor(NULL, 1);
  CHECK(object != NULL && ztBaseClass_of(object)->getRefCount(object) == 1);
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

/* After the clean-up nothing is known by name, and nothing that was comes back by itself. */
static void cleanUpEarlyAndTwice(void) {
  makeAndRelease(Lamp_ctor);
  CHECK(ztOOP_isClassRegistered("Lamp"));
  const int32_t count = ztOOP_classCount();
  ztOOP_CleanUp();
  ztOOP_CleanUp();
  CHECK(ztOOP_classList() == NULL);
  CHECK(ztOOP_classCount() == count);
  CHECK(LampClass_Instance()->initialised == 1);
  makeAndRelease(Lamp_ctor);
  makeAndRelease(ztFile_ctor);
  CHECK(ztOOP_classList() == NULL);
  CHECK(ztOOP_findClass("Lamp") == NULL);
  CHECK(ztNewFromName("ztFile") == NULL);
  ztFreeClass("ztFile");
  ztLc_log("still talking\n");
}

static void startAgain(void) {
  makeAndRelease(Lamp_ctor);
  ztOOP_CleanUp();
  CHECK(ztOOP_Init("second") == 1);
  CHECK(ztOOP_Init("third") == 1);
  CHECK(ztOOP_classList() == NULL);
  ztcoreClassInit();
  CHECK(ztOOP_isClassRegistered("ztFile"));
  CHECK(ztOOP_isClassRegistered("ztBaseClass"));
  CHECK(!ztOOP_isClassRegistered("Lamp"));
  const int32_t count = ztOOP_classCount();
  ztcoreClassInit();
  CHECK(ztOOP_classCount() == count);
  void *file = ztNewFromName("ztFile");
  CHECK(file != NULL);
  if (file != NULL) ztBaseClass_of(file)->unRef(file);
  ztLc_log("host talks\n");
}

/* A class that was never registered before the clean-up may still be, by its first own object. */
static void registerWhileStopped(void) {
  makeAndRelease(Torch_ctor);
  CHECK(!ztOOP_isClassRegistered("Lamp"));
  ztOOP_CleanUp();
  makeAndRelease(Torch_ctor);
  CHECK(!ztOOP_isClassRegistered("Torch"));
  makeAndRelease(Lamp_ctor);
  CHECK(ztOOP_isClassRegistered("Lamp"));
}

static void endLibrary(void *prototype) {
  ztcore_lnx_free();
  CHECK(ztOOP_classOf(prototype) == LampClass_Instance());
  ztLc_log("still here\n");
}

/* The class whose hook ends the library is still being freed then, and goes afterwards. */
static void endInHook(void) {
  ztOOP_CleanUp();
  CHECK(ztAddNewClass(Lamp_newop(), "Beacon", Lamp_ctor, endLibrary) == 1);
  ztFreeClass("Beacon");
  CHECK(!ztOOP_isClassRegistered("Beacon"));
}

static void initTwice(void) {
  CHECK(ztOOP_Init("other") == 1);
  CHECK(ztOOP_Init(NULL) == 1);
}

/* The list knows the property types by other names than their classes bear. */
static int staysRegistered(const char *name) {
  static const char suffix[] = "PropertyType";
  const size_t length = strlen(name);
  const size_t tail = sizeof suffix - 1;
  return length > tail + 2 && strcmp(name + length - tail, suffix) == 0;
}

static void freeLibraryClasses(void) {
  makeAndRelease(Lamp_ctor);
  int staying = 1; /* Lamp */
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    if (staysRegistered(entry->name)) ++staying;
  }
  ztcoreClassFree();
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    CHECK(strcmp(entry->name, "Lamp") == 0 || staysRegistered(entry->name));
    --staying;
  }
  CHECK(staying == 0);
  CHECK(!ztOOP_isClassRegistered("ztString"));
  CHECK(!ztOOP_isClassRegistered("ztFile"));
  CHECK(ztNewFromName("ztBaseClass") == NULL);
  makeAndRelease(ztFile_ctor);
  CHECK(!ztOOP_isClassRegistered("ztFile"));
  ztcoreClassFree();
  ztLc_log("logged after\n");
}

static int isTelling = 1;
static void (*objectInstancesGo)(ztClass *klass);

static void tellFreed(ztClass *klass) {
  if (isTelling) puts(klass->name);
  if (ztOOP_isClassOfClass(klass, "ztObject")) objectInstancesGo(klass);
}

/* Each class has a table of its own, whose hook tells when the class goes. */
static void tellOrderOfFreeing(void) {
  objectInstancesGo = ztObject_table()->classInstanceDestroy;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    ztBaseClassMethods *methods = ztOOP_classOf(entry->prototype)->methodTable;
    methods->classInstanceDestroy = tellFreed;
  }
  ztcoreClassFree();
  isTelling = 0;
}

/* The hooks of classes that are registered by the list, once more, are those of their tables. */
static void keepHooksAgain(void) {
  ztOOP_CleanUp();
  CHECK(ztOOP_Init(NULL) == 1);
  ztcoreClassInit();
  int hooks = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    const ztClassFunctions *functions = ztOOP_classOf(entry->prototype)->classTable;
    CHECK(entry->classDestroy == functions->classDestroy);
    hooks += entry->classDestroy != NULL;
  }
  CHECK(hooks == 3);
}

static int32_t readLamp(void *lamp, void *file, uint32_t version) {
  return lamp != NULL && file != NULL && version == 0;
}

/* A reader that is named while the engine is stopped goes when the library is unloaded. */
static void stopWithReaders(void) {
  makeAndRelease(Lamp_ctor);
  CHECK(ztOOP_setReader(LampClass_Instance(), 0, readLamp) == 1);
  CHECK(ztOOP_readerOf(LampClass_Instance(), 0) == readLamp);
  ztOOP_CleanUp();
  CHECK(ztOOP_readerOf(LampClass_Instance(), 0) == NULL);
  CHECK(ztOOP_setReader(LampClass_Instance(), 0, readLamp) == 1);
}

static void nameTheLog(void) {
  const char *message = ztCu_fmtMsg("earlier");
  ztOOP_CleanUp();
  CHECK(ztOOP_Init("named") == 1);
  CHECK(strcmp(message, "named.log") == 0);
}

/* The first identifier of a process counts 1; asked for within one second, what it is made of is known. */
static void makeFirstId(void) {
  time_t before = 0, after = 0;
  uint32_t id = 0, calls = 0;
  do {
    before = time(NULL);
    id = (uint32_t)ztCu_genUniqueId();
    after = time(NULL);
    ++calls;
  } while (before != after);
  srand((unsigned)before);
  CHECK(id == (uint32_t)rand() + (uint32_t)before + calls);
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {
      {"early", cleanUpEarlyAndTwice},    {"again", startAgain},           {"stopped", registerWhileStopped},
      {"init-twice", initTwice},          {"free", freeLibraryClasses},    {"end-in-hook", endInHook},
      {"free-order", tellOrderOfFreeing}, {"hooks-again", keepHooksAgain}, {"log-name", nameTheLog},
      {"first-id", makeFirstId},          {"readers", stopWithReaders},
  };
  return argc == 2 ? RUN(scenarios, argv[1]) : 2;
}
