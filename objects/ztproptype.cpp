#include "objects/ztproptype.h"

#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztPropertyType, 16, 21);

static void propertyTypeMethods(ztPropertyTypeMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, getValue);
  ZT_ABSTRACT_METHOD(methods, setValue);
}

ZT_DEFINE_CLASS(ztPropertyType, ztBaseClass, propertyTypeMethods)
