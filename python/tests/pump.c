/* A plugin with a node that has a link, and series of its own. */
#include "zentova.h"

#define Pump_FIELDS \
  ztTag_FIELDS      \
  ztLink gauge;     \
  ztTagHandle starts;
#define Pump_METHODS \
  ztTag_METHODS      \
  void (*follow)(void *pump, ztRoot *node);
ZT_DECLARE_CLASS(Pump)

static int32_t pumpCreate(void *object) {
  Pump *pump = object;
  const int32_t none = 0;
  ztLink_ctor(&pump->gauge, 1);
  return ztTag_table()->create(pump) &&
         ztTag_table()->insertNew(pump, "starts", ztIntTag_new(), &pump->starts, 7, 3, &none) &&
         ztObject_addInt(pump, "hours", 11);
}

static void pumpDestroy(void *object) {
  Pump *pump = object;
  ztLink_of(&pump->gauge)->destroy(&pump->gauge);
  ztTag_table()->destroy(pump);
}

static int32_t pumpWrite(const void *object, void *file) {
  const Pump *pump = object;
  return ztTag_table()->write(pump, file) && ztLink_of(&pump->gauge)->write(&pump->gauge, file);
}

static int32_t pumpRead(void *object, void *file) {
  Pump *pump = object;
  return ztTag_table()->read(pump, file) && ztLink_of(&pump->gauge)->read(&pump->gauge, file);
}

static void pumpFollow(void *pump, ztRoot *node) {
  ztLink_set(&((Pump *)pump)->gauge, node);
}

static void pumpMethods(PumpMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, pumpCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, pumpDestroy);
  ZT_OVERRIDE_METHOD(methods, write, pumpWrite);
  ZT_OVERRIDE_METHOD(methods, read, pumpRead);
  ZT_OVERRIDE_METHOD(methods, follow, pumpFollow);
}

ZT_DEFINE_CLASS(Pump, ztTag, pumpMethods)

__attribute__((constructor)) static void registerPump(void) {
  ZT_REGISTER_CLASS(Pump);
}
