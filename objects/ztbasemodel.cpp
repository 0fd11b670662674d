#include "objects/ztbasemodel.h"

#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztBaseModel, 40, 32);

static void baseModelMethods(ztBaseModelMethods *methods) {
  ZT_CALL_PARENT_ONLY(methods, ztObject, create);
  ZT_CALL_PARENT_ONLY(methods, ztObject, destroy);
}

ZT_DEFINE_CLASS(ztBaseModel, ztObject, baseModelMethods)
