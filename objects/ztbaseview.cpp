#include "objects/ztbaseview.h"

#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztBaseView, 40, 32);

static int32_t baseViewCreate(void *object) {
  return ztObject_table()->create(object) != 0;
}

static void baseViewDestroy(void *object) {
  ztObject_table()->destroy(object);
}

static void baseViewMethods(ztBaseViewMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, baseViewCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, baseViewDestroy);
}

ZT_DEFINE_CLASS(ztBaseView, ztObject, baseViewMethods)
