#include "containers/ztcitem.h"

#include "containers/ztitems.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztContainerItem, 24, 16);

int32_t ztcore::containerItemCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  static_cast<ztContainerItem *>(object)->data = nullptr;
  return 1;
}

static void containerItemMethods(ztContainerItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, containerItemCreate);
}

ZT_DEFINE_CLASS(ztContainerItem, ztBaseClass, containerItemMethods)
