#include "containers/zthashtitem.h"

#include "containers/ztitems.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztHashTableItem, 40, 16);

int32_t ztcore::hashTableItemCreate(void *object) {
  if (!ztContainerItem_table()->create(object)) return 0;
  auto *item = static_cast<ztHashTableItem *>(object);
  item->next = nullptr;
  item->value = nullptr;
  return 1;
}

static void hashTableItemMethods(ztHashTableItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, hashTableItemCreate);
}

ZT_DEFINE_CLASS(ztHashTableItem, ztContainerItem, hashTableItemMethods)
