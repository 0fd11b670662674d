#include "pump.h"

static int32_t pumpCreate(void *object) {
  Pump *pump = object;
  ztLink_ctor(&pump->gauge, 1); /* an object in the memory of another */
  return ztRoot_table()->create(pump);
}

static void pumpDestroy(void *object) {
  Pump *pump = object;
  ztLink_of(&pump->gauge)->destroy(&pump->gauge);
  ztRoot_table()->destroy(pump); /* the parent's version last */
}

static int32_t pumpWrite(const void *object, void *file) {
  const Pump *pump = object;
  return ztRoot_table()->write(pump, file) && ztLink_of(&pump->gauge)->write(&pump->gauge, file);
}

static int32_t pumpRead(void *object, void *file) {
  Pump *pump = object;
  return ztRoot_table()->read(pump, file) && ztLink_of(&pump->gauge)->read(&pump->gauge, file);
}

static void pumpMethods(PumpMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, pumpCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, pumpDestroy);
  ZT_OVERRIDE_METHOD(methods, write, pumpWrite);
  ZT_OVERRIDE_METHOD(methods, read, pumpRead);
}

ZT_DEFINE_CLASS(Pump, ztRoot, pumpMethods)
