/* A plugin whose class bears the name of another plugin's. */
#include "tests/hosts/plugin.h"

#define Pump_FIELDS  \
  ztBaseClass_FIELDS \
  double speed;
#define Pump_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Pump)

static void pumpMethods(PumpMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Pump, ztBaseClass, pumpMethods)

int32_t usePlugin(void) {
  void *pump = Pump_ctor(NULL, 1);
  const int32_t done = ztOOP_classOf(pump)->instanceSize == (int32_t)sizeof(Pump);
  ztBaseClass_of(pump)->unRef(pump);
  return done;
}

void *makeObject(void) {
  return Pump_ctor(NULL, 1);
}
