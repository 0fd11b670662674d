#include "containers/ztlistitem.h"

#include "containers/ztitems.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztListItem, 40, 16);

int32_t ztcore::listItemCreate(void *object) {
  if (!ztContainerItem_table()->create(object)) return 0;
  auto *item = static_cast<ztListItem *>(object);
  item->next = nullptr;
  item->prev = nullptr;
  return 1;
}

static void listItemMethods(ztListItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, listItemCreate);
}

ZT_DEFINE_CLASS(ztListItem, ztContainerItem, listItemMethods)
