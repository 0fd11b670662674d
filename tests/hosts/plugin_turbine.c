/* A plugin whose classes derive from another plugin's; one of them is never used by itself. */
#include "tests/hosts/plugin.h"

#define Pump_FIELDS  \
  ztBaseClass_FIELDS \
  int32_t pressure;
#define Pump_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Pump)
#define Turbine_FIELDS Pump_FIELDS
#define Turbine_METHODS Pump_METHODS
ZT_DECLARE_CLASS(Turbine)

#define Tap_FIELDS ztObject_FIELDS
#define Tap_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Tap)
#define Mixer_FIELDS Tap_FIELDS
#define Mixer_METHODS Tap_METHODS
ZT_DECLARE_CLASS(Mixer)

static void turbineMethods(TurbineMethods *methods) {
  (void)methods;
}

static void tapMethods(TapMethods *methods) {
  (void)methods;
}

static void mixerMethods(MixerMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Turbine, Pump, turbineMethods)
ZT_DEFINE_CLASS(Tap, ztObject, tapMethods)
ZT_DEFINE_CLASS(Mixer, Tap, mixerMethods)

int32_t usePlugin(void) {
  void *turbine = Turbine_ctor(NULL, 1);
  void *mixer = Mixer_ctor(NULL, 1);
  const int32_t done = TurbineIsClassOf(NULL, turbine, "Pump") && !ztOOP_isClassRegistered("Tap");
  ztBaseClass_of(mixer)->unRef(mixer);
  ztBaseClass_of(turbine)->unRef(turbine);
  return done;
}

void *makeObject(void) {
  return Turbine_ctor(NULL, 1);
}
