#include "objects/ztbasemodel.h"

#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztBaseModel, 40, 32);

static int32_t baseModelCreate(void *object) {
  return ztObject_table()->create(object) != 0;
}

static void baseModelDestroy(void *object) {
  ztObject_table()->destroy(object);
}

static void baseModelMethods(ztBaseModelMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, baseModelCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, baseModelDestroy);
}

ZT_DEFINE_CLASS(ztBaseModel, ztObject, baseModelMethods)
