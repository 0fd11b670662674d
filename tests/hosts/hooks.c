/*
 * Three classes whose hooks tell when they run, and do in turn what the argument names: look classes
 * up, register or free classes, ask for the clean-up.
 */
#include "core/ztbasec.h"
#include "tests/hosts/check.h"

#include <string.h>

static const char *scenario;

static int is(const char *name) {
  return strcmp(scenario, name) == 0;
}

#define Oak_FIELDS ztBaseClass_FIELDS
#define Oak_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Oak)
#define Elm_FIELDS ztBaseClass_FIELDS
#define Elm_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Elm)
#define Ash_FIELDS ztBaseClass_FIELDS
#define Ash_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Ash)
/* Registered by the hooks of others. */
#define Fir_FIELDS ztBaseClass_FIELDS
#define Fir_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Fir)

static void makeAndRelease(const char *name) {
  void *object = ztNewFromName(name);
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

static void registerFir(void) {
  void *fir = Fir_ctor(NULL, 1);
  ztBaseClass_of(fir)->unRef(fir);
}

static void registered(ztClass *klass) {
  printf("registered %s\n", klass->name);
  CHECK(ztOOP_isClassRegistered(klass->name));
  CHECK(ztOOP_findClass(klass->name) == klass);
  if (is("leave-at-once") && klass == AshClass_Instance()) ztFreeClass("Ash");
  if (is("clean-up-at-once") && klass == AshClass_Instance()) ztOOP_CleanUp();
}

static void instancesGo(ztClass *klass) {
  printf("instances go %s\n", klass->name);
  if (is("look-up")) {
    printf("  known %d\n", ztOOP_isClassRegistered(klass->name));
    makeAndRelease(klass->name);
  }
  if (is("look-around")) printf("  library %d\n", ztOOP_isClassRegistered("ztFile"));
  if (is("free-self")) ztFreeClass(klass->name);
  if (is("clean-up")) ztOOP_CleanUp();
  if (klass != AshClass_Instance()) return;
  if (is("free-others")) {
    ztFreeClass("Elm");
    ztFreeClass("Oak");
  }
  if (is("free-library")) ztFreeClass("ztFile");
  if (is("register")) registerFir();
}

static void classGoes(void *prototype) {
  const ztClass *klass = ztOOP_classOf(prototype);
  printf("class goes %s\n", klass->name);
  if (is("look-up")) {
    printf("  known %d\n", ztOOP_isClassRegistered(klass->name));
    makeAndRelease("Oak");
  }
  if (is("free-self-late")) ztFreeClass(klass->name);
  if (is("clean-up")) ztOOP_CleanUp();
  if (klass != AshClass_Instance()) return;
  if (is("free-others-late")) {
    ztFreeClass("Elm");
    ztFreeClass("Oak");
  }
  if (is("register-late")) registerFir();
}

static void treeFunctions(ztClassFunctions *functions) {
  functions->classDestroy = classGoes;
}

static void oakMethods(OakMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, registered);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, instancesGo);
}

static void elmMethods(ElmMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, registered);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, instancesGo);
}

static void ashMethods(AshMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, registered);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, instancesGo);
}

static void firMethods(FirMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, registered);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, instancesGo);
}

ZT_DEFINE_CLASS_FULL(Oak, ztBaseClass, oakMethods, 1, ztClassFunctions, treeFunctions)
ZT_DEFINE_CLASS_FULL(Elm, ztBaseClass, elmMethods, 1, ztClassFunctions, treeFunctions)
ZT_DEFINE_CLASS_FULL(Ash, ztBaseClass, ashMethods, 1, ztClassFunctions, treeFunctions)
ZT_DEFINE_CLASS_FULL(Fir, ztBaseClass, firMethods, 1, ztClassFunctions, treeFunctions)

static void use(ztCtor ctor) {
  void *object = ctor(NULL, 1);
  ztBaseClass_of(object)->unRef(object);
}

/* The second argument says what ends the classes: `free` (Ash alone), `clean-up`, or the process. */
int main(int argc, char **argv) {
  if (argc != 3) return 2;
  scenario = argv[1];
  use(Oak_ctor);
  use(Elm_ctor);
  use(Ash_ctor);
  if (strcmp(argv[2], "free") == 0) {
    ztFreeClass("Ash");
    printf("Ash %d Elm %d Oak %d\n", ztOOP_isClassRegistered("Ash"), ztOOP_isClassRegistered("Elm"),
           ztOOP_isClassRegistered("Oak"));
  } else if (strcmp(argv[2], "clean-up") == 0) {
    ztOOP_CleanUp();
    CHECK(ztOOP_classList() == NULL);
  }
  puts("end");
  return failedChecks != 0;
}
