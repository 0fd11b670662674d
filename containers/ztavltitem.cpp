#include "containers/ztavltitem.h"

#include "containers/ztitems.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztAvlTreeItem, 48, 16);

int32_t ztcore::avlTreeItemCreate(void *object) {
  if (!ztContainerItem_table()->create(object)) return 0;
  auto *item = static_cast<ztAvlTreeItem *>(object);
  item->balance = 0;
  item->left = nullptr;
  item->right = nullptr;
  return 1;
}

static void avlTreeItemMethods(ztAvlTreeItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, avlTreeItemCreate);
}

ZT_DEFINE_CLASS(ztAvlTreeItem, ztContainerItem, avlTreeItemMethods)
