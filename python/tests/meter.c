/* A plugin with a node that has a link, and series of its own. */
#include "zentova.h"

#define Meter_FIELDS  \
  ztTag_FIELDS        \
  ztLink gauge;       \
  ztTagHandle starts; \
  int32_t turns;
#define Meter_METHODS                        \
  ztTag_METHODS                              \
  void (*follow)(void *meter, ztRoot *node); \
  int32_t (*getTurns)(const void *meter);    \
  void (*setTurns)(void *meter, int32_t turns);
ZT_DECLARE_CLASS(Meter)

static int32_t meterCreate(void *object) {
  Meter *meter = object;
  const int32_t none = 0;
  meter->turns = 0;
  ztLink_ctor(&meter->gauge, 1);
  return ztTag_table()->create(meter) &&
         ztTag_table()->insertNew(meter, "starts", ztIntTag_new(), &meter->starts, 7, 3, &none) &&
         ztObject_addInt(meter, "hours", 11);
}

static void meterDestroy(void *object) {
  Meter *meter = object;
  ztLink_of(&meter->gauge)->destroy(&meter->gauge);
  ztTag_table()->destroy(meter);
}

static int32_t meterWrite(const void *object, void *file) {
  const Meter *meter = object;
  return ztTag_table()->write(meter, file) && ztLink_of(&meter->gauge)->write(&meter->gauge, file);
}

static int32_t meterRead(void *object, void *file) {
  Meter *meter = object;
  return ztTag_table()->read(meter, file) && ztLink_of(&meter->gauge)->read(&meter->gauge, file);
}

static void meterFollow(void *meter, ztRoot *node) {
  ztLink_set(&((Meter *)meter)->gauge, node);
}

static int32_t meterGetTurns(const void *meter) {
  return ((const Meter *)meter)->turns;
}

static void meterSetTurns(void *meter, int32_t turns) {
  ((Meter *)meter)->turns = turns;
}

static void meterMethods(MeterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, meterCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, meterDestroy);
  ZT_OVERRIDE_METHOD(methods, write, meterWrite);
  ZT_OVERRIDE_METHOD(methods, read, meterRead);
  ZT_OVERRIDE_METHOD(methods, follow, meterFollow);
  ZT_OVERRIDE_METHOD(methods, getTurns, meterGetTurns);
  ZT_OVERRIDE_METHOD(methods, setTurns, meterSetTurns);
}

ZT_DEFINE_CLASS(Meter, ztTag, meterMethods)

__attribute__((constructor)) static void registerMeter(void) {
  ZT_REGISTER_CLASS(Meter);
}
