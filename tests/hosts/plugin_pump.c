/*
 * A plugin with a class that tells when it goes, a class with properties, and a type of properties.
 */
#include "tests/hosts/plugin.h"

#include <stdio.h>

#define Pump_FIELDS  \
  ztBaseClass_FIELDS \
  int32_t pressure;
#define Pump_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Pump)

#define Valve_FIELDS \
  ztObject_FIELDS    \
  int32_t level;
#define Valve_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Valve)

#define FlowPropertyType_FIELDS ztPropertyType_FIELDS
#define FlowPropertyType_METHODS ztPropertyType_METHODS
ZT_DECLARE_CLASS(FlowPropertyType)

static void pumpInstancesGo(ztClass *klass) {
  printf("instances go %s\n", klass->name);
}

static void pumpGoes(void *prototype) {
  printf("class goes %s\n", ztOOP_classNameOf(prototype));
}

static void pumpMethods(PumpMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, pumpInstancesGo);
}

static void pumpFunctions(ztClassFunctions *functions) {
  functions->classDestroy = pumpGoes;
}

ZT_DEFINE_CLASS_FULL(Pump, ztBaseClass, pumpMethods, 1, ztClassFunctions, pumpFunctions)

static int32_t valveLevel(const void *valve) {
  return ((const Valve *)valve)->level;
}

static int32_t valveProperties(ztClass *klass) {
  ztOOP_declareSignal(klass, "opened(double degree)");
  return ztObject_table()->addProperty(klass, "level", "ztInt", (ztGetter){.getInt = valveLevel},
                                       (ztSetter){NULL}, NULL, NULL);
}

static int32_t valveCreate(void *valve) {
  ((Valve *)valve)->level = 7;
  return ztObject_table()->create(valve);
}

static void valveMethods(ValveMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, valveCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, valveProperties);
}

ZT_DEFINE_CLASS(Valve, ztObject, valveMethods)

static ztWord flowGetValue(ztClass *klass, const void *property, void *owner, void *out) {
  (void)klass, (void)property, (void)owner;
  *(int32_t *)out = 99;
  return 99;
}

static void flowMethods(FlowPropertyTypeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, flowGetValue);
}

ZT_DEFINE_CLASS(FlowPropertyType, ztPropertyType, flowMethods)

int32_t usePlugin(void) {
  void *pump = Pump_ctor(NULL, 1);
  void *valve = Valve_ctor(NULL, 1);
  void *flow = FlowPropertyType_ctor(NULL, 1);
  int32_t level = 0;
  ztProperty_functions()->registerNewType(NULL, "FlowPropertyType");
  const int32_t done = ztObject_of(valve)->getProperty(valve, "level", "ztInt", &level) && level == 7;
  ztBaseClass_of(flow)->unRef(flow);
  ztBaseClass_of(valve)->unRef(valve);
  ztBaseClass_of(pump)->unRef(pump);
  return done;
}

void *makeObject(void) {
  return Pump_ctor(NULL, 1);
}
