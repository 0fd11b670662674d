#include "tests/threads/meter.hh"

static int32_t meterLevel(const void *meter) {
  return static_cast<const Meter *>(meter)->level;
}

static void meterSetLevel(void *meter, int32_t level) {
  static_cast<Meter *>(meter)->level = level;
}

static int32_t meterProperties(ztClass *klass) {
  ztGetter getter;
  getter.getInt = meterLevel;
  ztSetter setter;
  setter.setInt = meterSetLevel;
  return ztObject_table()->addProperty(klass, "level", "ztInt", getter, setter, nullptr, "levelChanged");
}

static int32_t meterCreate(void *meter) {
  static_cast<Meter *>(meter)->level = 0;
  return ztObject_table()->create(meter);
}

static void meterMethods(MeterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, meterCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, meterProperties);
}

ZT_DEFINE_CLASS(Meter, ztObject, meterMethods)

static void freshMeterMethods(FreshMeterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, meterCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, meterProperties);
}

ZT_DEFINE_CLASS(FreshMeter, ztObject, freshMeterMethods)

static int32_t freshCounterCreate(void *counter) {
  static_cast<FreshCounter *>(counter)->count = 0;
  return FreshMeter_table()->create(counter);
}

static int32_t freshCounterNext(void *counter) {
  return ++static_cast<FreshCounter *>(counter)->count;
}

static void freshCounterMethods(FreshCounterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, freshCounterCreate);
  ZT_OVERRIDE_METHOD(methods, next, freshCounterNext);
}

ZT_DEFINE_CLASS(FreshCounter, FreshMeter, freshCounterMethods)

static void freshNodeMethods(FreshNodeMethods *) {}

ZT_DEFINE_CLASS(FreshNode, ztRoot, freshNodeMethods)

static void freshTypeMethods(FreshTypeMethods *) {}

ZT_DEFINE_CLASS(FreshType, ztIntPropertyType, freshTypeMethods)
