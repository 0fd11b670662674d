#include "containers/ztmapitem.h"

#include "containers/ztitems.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztMapItem, 56, 16);

int32_t ztcore::mapItemCreate(void *object) {
  if (!ztAvlTreeItem_table()->create(object)) return 0;
  static_cast<ztMapItem *>(object)->value = nullptr;
  return 1;
}

static void mapItemMethods(ztMapItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, mapItemCreate);
}

ZT_DEFINE_CLASS(ztMapItem, ztAvlTreeItem, mapItemMethods)
