#include "objects/ztbaseview.h"

#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztBaseView, 40, 32);

static void baseViewMethods(ztBaseViewMethods *methods) {
  ZT_CALL_PARENT_ONLY(methods, ztObject, create);
  ZT_CALL_PARENT_ONLY(methods, ztObject, destroy);
}

ZT_DEFINE_CLASS(ztBaseView, ztObject, baseViewMethods)
