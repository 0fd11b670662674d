#include "containers/ztlist.h"

#include "containers/ztcont.hh"
#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztList, 88, 40);
ZT_PIN_FIELD(ztList, head, 64);
ZT_PIN_FIELD(ztList, tail, 72);
ZT_PIN_FIELD(ztList, count, 80);
ZT_PIN_SLOT(ztList, pushBack, 27);
ZT_PIN_SLOT(ztList, popFront, 31);
ZT_PIN_SLOT(ztList, removeItem, 33);
ZT_PIN_SLOT(ztList, empty, 37);
ZT_PIN_SLOT(ztList, getItemAt, 39);

static ztListItem *newItem(ztList *list, const void *element) {
  void *manager = ztItemManagerOf(list);
  return static_cast<ztListItem *>(ztContainer_of(manager)->newItem(manager, element));
}

static void deleteItem(ztList *list, ztListItem *item) {
  void *manager = ztItemManagerOf(list);
  ztContainer_of(manager)->deleteItem(manager, item);
}

static void clearItems(ztList *list) {
  list->head = nullptr;
  list->tail = nullptr;
  list->count = 0;
}

// Adding ------------------------------------------------------------------------------------------

static ztListItem *listPushBack(void *object, const void *element) {
  auto *list = static_cast<ztList *>(object);
  if (list == nullptr) return nullptr;
  ztListItem *item = newItem(list, element);
  if (item == nullptr) return nullptr;
  item->next = nullptr;
  item->prev = list->tail;
  list->tail = item;
  if (item->prev != nullptr) item->prev->next = item;
  if (list->head == nullptr) list->head = item;
  ++list->count;
  return item;
}

static ztListItem *listPushFront(void *object, const void *element) {
  auto *list = static_cast<ztList *>(object);
  if (list == nullptr) return nullptr;
  ztListItem *item = newItem(list, element);
  if (item == nullptr) return nullptr;
  item->prev = nullptr;
  item->next = list->head;
  list->head = item;
  if (item->next != nullptr) item->next->prev = item;
  if (list->tail == nullptr) list->tail = item;
  ++list->count;
  return item;
}

// A new item between two neighbours.
static ztListItem *insertBetween(ztList *list, ztListItem *before, ztListItem *after, const void *element) {
  ztListItem *item = newItem(list, element);
  if (item == nullptr) return nullptr;
  ++list->count;
  before->next = item;
  item->prev = before;
  item->next = after;
  after->prev = item;
  return item;
}

static ztListItem *listInsertPrev(void *object, ztListItem *item, const void *element) {
  if (object == nullptr || item == nullptr) return nullptr;
  if (item->prev == nullptr) return ztList_of(object)->pushFront(object, element);
  return insertBetween(static_cast<ztList *>(object), item->prev, item, element);
}

static ztListItem *listInsertNext(void *object, ztListItem *item, const void *element) {
  if (object == nullptr || item == nullptr) return nullptr;
  if (item->next == nullptr) return ztList_of(object)->pushBack(object, element);
  return insertBetween(static_cast<ztList *>(object), item, item->next, element);
}

// Removing ----------------------------------------------------------------------------------------

// Takes the head out of its links; NULL when there is none.
static ztListItem *detachHead(ztList *list) {
  ztListItem *item = list->head;
  if (item == nullptr || list->tail == nullptr) return nullptr;
  list->head = item->next;
  if (list->head != nullptr) {
    list->head->prev = nullptr;
  } else {
    list->tail = nullptr;
  }
  return item;
}

static ztListItem *listPopFront(void *object) {
  auto *list = static_cast<ztList *>(object);
  ztListItem *item = list == nullptr ? nullptr : detachHead(list);
  if (item == nullptr) return nullptr;
  // Not through the item manager: the element is the caller's from here on.
  ztListItem_of(item)->unRef(item);
  --list->count;
  return list->head;
}

static ztListItem *listPopBack(void *object) {
  auto *list = static_cast<ztList *>(object);
  if (list == nullptr) return nullptr;
  ztListItem *item = list->tail;
  if (item == nullptr || list->head == nullptr) return nullptr;
  list->tail = item->prev;
  if (list->tail != nullptr) {
    list->tail->next = nullptr;
  } else {
    list->head = nullptr;
  }
  deleteItem(list, item);
  --list->count;
  return list->tail;
}

static ztListItem *listRemoveItem(void *object, ztListItem *item) {
  auto *list = static_cast<ztList *>(object);
  if (list == nullptr || item == nullptr) return nullptr;
  if (item == list->head) return ztList_of(object)->popFront(object);
  if (item == list->tail) return ztList_of(object)->popBack(object);
  ztListItem *before = item->prev;
  ztListItem *after = item->next;
  // An item between the ends has both links; one without them stands in no list, or at another's end.
  if (before == nullptr || after == nullptr) return nullptr;
  before->next = after;
  after->prev = before;
  deleteItem(list, item);
  --list->count;
  return before;
}

static void listEmpty(void *object) {
  auto *list = static_cast<ztList *>(object);
  if (list == nullptr) return;
  // Each is taken out first, since the end of an element may call back into the list.
  while (ztListItem *item = detachHead(list)) deleteItem(list, item);
  clearItems(list);
}

// Finding -----------------------------------------------------------------------------------------

static ztListItem *listFind(const void *object, const void *key) {
  const auto *list = static_cast<const ztList *>(object);
  if (list == nullptr || list->compareFunction == nullptr) return nullptr;
  ztListItem *item = list->head;
  while (item != nullptr && list->compareFunction(item->data, key) != 0) item = item->next;
  return item;
}

static void *dataOf(const ztListItem *item) {
  return item == nullptr ? nullptr : item->data;
}

static void *listGetBack(const void *object) {
  return object == nullptr ? nullptr : dataOf(static_cast<const ztList *>(object)->tail);
}

static void *listGetFront(const void *object) {
  return object == nullptr ? nullptr : dataOf(static_cast<const ztList *>(object)->head);
}

static ztListItem *listGetItemAt(const void *object, int32_t index) {
  if (object == nullptr || index < 0) return nullptr;
  ztListItem *item = static_cast<const ztList *>(object)->head;
  for (; item != nullptr && index > 0; --index) item = item->next;
  return item;
}

static void *listGetAt(const void *object, int32_t index) {
  return object == nullptr ? nullptr : dataOf(ztList_of(object)->getItemAt(object, index));
}

static int32_t listGetSize(const void *object) {
  return object == nullptr ? 0 : static_cast<int32_t>(static_cast<const ztList *>(object)->count);
}

// Life --------------------------------------------------------------------------------------------

static int32_t listCreate(void *object) {
  if (!ztSequenceContainer_table()->create(object)) return 0;
  clearItems(static_cast<ztList *>(object));
  ztList_of(object)->setItemConstructor(object, ztListItem_ctor);
  return 1;
}

static void *listClone(const void *object, void *target) {
  void *copy = ztSequenceContainer_table()->clone(object, target);
  if (copy == nullptr) return nullptr;
  clearItems(static_cast<ztList *>(copy));
  const ztListItem *item = static_cast<const ztList *>(object)->head;
  while (item != nullptr && ztList_of(copy)->pushBack(copy, item->data) != nullptr) item = item->next;
  if (item == nullptr) return copy;
  ztList_table()->destroy(copy);
  return nullptr;
}

static int32_t listAssign(void *object, const void *other) {
  return ztSequenceContainer_table()->assign(object, other) ? 1 : 0;
}

static void listDestroy(void *object) {
  if (object == nullptr) return;
  ztSequenceContainer_table()->destroy(object);
  ztList_of(object)->empty(object);
}

static void listMethods(ztListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, listCreate);
  ZT_OVERRIDE_METHOD(methods, clone, listClone);
  ZT_OVERRIDE_METHOD(methods, assign, listAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, listDestroy);
  ZT_OVERRIDE_METHOD(methods, getSize, listGetSize);
  ZT_OVERRIDE_METHOD(methods, pushBack, listPushBack);
  ZT_OVERRIDE_METHOD(methods, pushFront, listPushFront);
  ZT_OVERRIDE_METHOD(methods, insertPrev, listInsertPrev);
  ZT_OVERRIDE_METHOD(methods, insertNext, listInsertNext);
  ZT_OVERRIDE_METHOD(methods, popFront, listPopFront);
  ZT_OVERRIDE_METHOD(methods, popBack, listPopBack);
  ZT_OVERRIDE_METHOD(methods, removeItem, listRemoveItem);
  ZT_OVERRIDE_METHOD(methods, find, listFind);
  ZT_OVERRIDE_METHOD(methods, getBack, listGetBack);
  ZT_OVERRIDE_METHOD(methods, getFront, listGetFront);
  ZT_OVERRIDE_METHOD(methods, empty, listEmpty);
  ZT_OVERRIDE_METHOD(methods, getAt, listGetAt);
  ZT_OVERRIDE_METHOD(methods, getItemAt, listGetItemAt);
}

ZT_DEFINE_CLASS(ztList, ztSequenceContainer, listMethods)
