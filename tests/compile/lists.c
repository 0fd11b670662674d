/* Defines a class whose lists of fields and methods are given on the command line. */
#include "core/ztbasec.h"

#define Light_FIELDS \
  ztBaseClass_FIELDS \
  int32_t isOn;
#define Light_METHODS \
  ztBaseClass_METHODS \
  void (*turnOn)(void *light);
ZT_DECLARE_CLASS(Light)

#define OWN_FIELD int32_t watts;
#define OWN_METHOD void (*dim)(void *lamp);
#define Lamp_FIELDS FIELDS
#define Lamp_METHODS METHODS
ZT_DECLARE_CLASS(Lamp)

static void lightMethods(LightMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, turnOn);
}

static void lampMethods(LampMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Light, ztBaseClass, lightMethods)
ZT_DEFINE_CLASS(Lamp, Light, lampMethods)
