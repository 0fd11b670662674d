/*
 * Properties over the engine's life: types as they are known after loading, classes that are freed and
 * registered again, a clean-up with objects alive, a new start, and objects that live on to the end. The
 * argument names the end: `stopped`, `cleaned` or `running`; with `type only` there is nothing else.
 */
#include "core/ztcore.h"
#include "objects/ztroot.h"
#include "tests/hosts/check.h"

#include <string.h>

#define Lamp_FIELDS \
  ztObject_FIELDS   \
  int32_t watts;
#define Lamp_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Lamp)

static int32_t lampWatts(const void *lamp) {
  return ((const Lamp *)lamp)->watts;
}

static void lampSetWatts(void *lamp, int32_t watts) {
  ((Lamp *)lamp)->watts = watts;
}

static int32_t lampInitProperties(ztClass *klass) {
  const LampMethods *methods = (const LampMethods *)klass->methodTable;
  const ztGetter getter = {lampWatts};
  const ztSetter setter = {lampSetWatts};
  return methods->addProperty(klass, "watts", "ztInt", getter, setter, NULL, NULL);
}

static void lampMethods(LampMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, lampInitProperties);
}

ZT_DEFINE_CLASS(Lamp, ztObject, lampMethods)

#define WattsType_FIELDS ztIntPropertyType_FIELDS
#define WattsType_METHODS ztIntPropertyType_METHODS
ZT_DECLARE_CLASS(WattsType)

static void wattsTypeMethods(WattsTypeMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(WattsType, ztIntPropertyType, wattsTypeMethods)

static ztClass *typeNamed(const char *name) {
  return ztProperty_functions()->getPropertyTypeClass(NULL, name);
}

static void checkLamp(void *lamp) {
  const LampMethods *methods = Lamp_of(lamp);
  int32_t value = 0;
  CHECK(methods->setProperty(lamp, "watts", "ztInt", 40) == 1);
  CHECK(methods->getProperty(lamp, "watts", "ztInt", &value) == 1);
  CHECK(value == 40);
  CHECK(methods->getProperty(lamp, "refCount", "ztInt", &value) == 1);
  CHECK(value == 1);
  value = 7;
  CHECK(methods->getProperty(lamp, "level", "ztInt", &value) == 1);
  CHECK(value == 3);
  CHECK(methods->staticProperties != NULL);
  CHECK(ztPropertyMap_of(methods->staticProperties)->getSize(methods->staticProperties) == 2);
}

static void *newLamp(void) {
  void *lamp = Lamp_ctor(NULL, 1);
  const int32_t level = 3;
  CHECK(Lamp_of(lamp)->setProperty(lamp, "level", "ztInt", (ztWord)&level) == 1);
  checkLamp(lamp);
  return lamp;
}

static int taken;

static void take(void *receiver, intptr_t first) {
  (void)receiver;
  taken = (int)first;
}

/* A type that becomes known while the engine is stopped: no class that would release it is registered. */
static int knowATypeOnly(void) {
  ztOOP_CleanUp();
  void *type = WattsType_ctor(NULL, 1);
  ztBaseClass_of(type)->unRef(type);
  CHECK(ztProperty_functions()->registerNewType(NULL, "WattsType") == 1);
  CHECK(typeNamed("WattsType") == WattsTypeClass_Instance());
  CHECK(!ztOOP_isClassRegistered("ztProperty"));
  return failedChecks != 0;
}

int main(int argc, char **argv) {
  const char *end = argc > 1 ? argv[1] : "";
  if (strcmp(end, "type only") == 0) return knowATypeOnly();
  CHECK(typeNamed("ztIntPropertyType") == ztIntPropertyTypeClass_Instance());
  CHECK(typeNamed("ztBoolPropertyType") == NULL);
  CHECK(typeNamed("ztStringPropertyType") == NULL);
  CHECK(ztProperty_functions()->registerNewType(NULL, "ztBoolPropertyType") == 1);
  CHECK(ztProperty_functions()->registerNewType(NULL, "ztBoolPropertyType") == 0);

  void *lamp = newLamp();
  ztFreeClass("Lamp");
  CHECK(Lamp_table()->staticProperties == NULL);
  checkLamp(lamp);
  ztFreeClass("ztObject");
  ztFreeClass("ztIntPropertyType");
  checkLamp(lamp);
  void *receiver = ztObject_ctor(NULL, 1);
  ztSlotFunction function;
  function.call1 = take;
  CHECK(
      Lamp_of(lamp)->connect(LampClass_Instance(), lamp, "prop->signalname", receiver, "take", function, 1));

  /* The types go with their class, and are asked for anew. */
  ztFreeClass("ztProperty");
  CHECK(typeNamed("ztIntPropertyType") == NULL);
  CHECK(Lamp_of(lamp)->setProperty(lamp, "fresh", "ztInt", 0) == 0);
  CHECK(ztProperty_functions()->registerNewType(NULL, "ztIntPropertyType") == 1);
  CHECK(typeNamed("ztIntPropertyType") == NULL);
  checkLamp(lamp);

  ztOOP_CleanUp();
  CHECK(Lamp_table()->staticProperties == NULL);
  CHECK(typeNamed("ztIntPropertyType") == NULL);
  checkLamp(lamp);
  CHECK(taken == 40);
  if (strcmp(end, "stopped") == 0) {
    ztBaseClass_of(lamp)->unRef(lamp);
    ztBaseClass_of(receiver)->unRef(receiver);
    return failedChecks != 0;
  }

  ztOOP_Init(NULL);
  ztcoreClassInit();
  CHECK(typeNamed("ztIntPropertyType") == ztIntPropertyTypeClass_Instance());
  CHECK(typeNamed("ztBoolPropertyType") == NULL);
  checkLamp(lamp);
  void *other = newLamp();
  void *root = ztNewFromName("ztRoot");
  CHECK(root != NULL);
  ztBaseClass_of(root)->unRef(root);
  ztBaseClass_of(other)->unRef(other);
  ztBaseClass_of(lamp)->unRef(lamp);
  ztBaseClass_of(receiver)->unRef(receiver);
  if (strcmp(end, "cleaned") == 0) ztOOP_CleanUp();
  return failedChecks != 0;
}
