#include "objects/ztproptype.h"

#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztPropertyType, 16, 21);
ZT_PIN_SLOT(ztPropertyType, getValue, 16);
ZT_PIN_SLOT(ztPropertyType, getType, 20);

static void propertyTypeMethods(ztPropertyTypeMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, getValue);
  ZT_ABSTRACT_METHOD(methods, setValue);
}

ZT_DEFINE_CLASS(ztPropertyType, ztBaseClass, propertyTypeMethods)
