#include "containers/ztlist.h"

#include "containers/ztitems.hh"
#include "containers/ztitemtable.hh"
#include "containers/ztscont.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztList, 88, 40);

// NULL when the count is at its maximum.
static ztListItem *newItem(ztList *list, const ContainerUse &use, const void *element) {
  if (list->count >= INT32_MAX) return nullptr;
  return static_cast<ztListItem *>(makeItem(list, use, element));
}

static bool isPlain(const ztList &list) {
  return hasPlainItems(list, ztListItem_ctor) && isPlainClass(ztListItemClass_Instance(), listItemCreate);
}

// An item that is not in the list yet; its links are not set.
static ztListItem *makeItem(ztList &list, const void *element) {
  if (isPlain(list)) {
    return list.count >= INT32_MAX ? nullptr : makePlainItem<ztListItem>(list, ztListItem_ctor, element);
  }
  const ContainerUse use(&list);
  return newItem(&list, use, element);
}

static void deleteItem(ztList *list, ztListItem *item) {
  void *manager = itemManagerOf(list);
  ztContainer_of(manager)->deleteItem(manager, item);
}

// False, with nothing deleted, when the item is not plain.
static bool deletePlainItem(ztList &list, ztListItem *item) {
  if (!isPlain(list) || !endsPlain(item, ztListItemClass_Instance())) return false;
  releasePlain(policyOf(list), item->data);
  ztm_free(item);
  return true;
}

static void clearItems(ztList *list) {
  if (mayHaveTable(*list)) dropTable(*list);
  list->head = nullptr;
  list->tail = nullptr;
  list->count = 0;
}

static bool hasItem(const ztList *list, const ztListItem *wanted) {
  const ztListItem *item = list->head;
  while (item != nullptr && item != wanted) item = item->next;
  return item != nullptr;
}

// Noting changes ----------------------------------------------------------------------------------
//
// In the records of calls and in a table of the items. Most changes need no note, and cost a comparison.

static bool isNoticed(const ztList &list) {
  return usesUnderWay() != nullptr || mayHaveTable(list);
}

[[gnu::cold]] static void noteAppended(const ztList &list) {
  if (mayHaveTable(list)) extendTable(list);
  noteAdded(&list);
}

[[gnu::cold]] static void noteInserted(const ztList &list) {
  if (mayHaveTable(list)) dropTable(list);
  noteAdded(&list);
}

[[gnu::cold]] static void noteTakenOut(const ztList &list, const ztListItem *item) {
  if (mayHaveTable(list)) shortenTable(list, item);
  noteRemoved(&list);
}

// Adding ------------------------------------------------------------------------------------------

static ztListItem *listPushBack(ztList &list, const void *element) {
  ztListItem *item = makeItem(list, element);
  if (item == nullptr) return nullptr;
  item->next = nullptr;
  item->prev = list.tail;
  list.tail = item;
  if (item->prev != nullptr) item->prev->next = item;
  if (list.head == nullptr) list.head = item;
  ++list.count;
  if (isNoticed(list)) noteAppended(list);
  return item;
}

static ztListItem *listPushFront(ztList &list, const void *element) {
  ztListItem *item = makeItem(list, element);
  if (item == nullptr) return nullptr;
  item->prev = nullptr;
  item->next = list.head;
  list.head = item;
  if (item->next != nullptr) item->next->prev = item;
  if (list.tail == nullptr) list.tail = item;
  ++list.count;
  if (isNoticed(list)) noteInserted(list);
  return item;
}

// Inserts a new item before or after one that has a neighbour there. Making the new item may remove that one:
// then nothing is inserted.
static ztListItem *insertAt(ztList *list, ztListItem *item, bool behind, const void *element) {
  const ContainerUse use(list);
  ztListItem *added = newItem(list, use, element);
  if (added == nullptr) return nullptr;
  if (use.removed() && !hasItem(list, item)) {
    deleteItem(list, added);
    return nullptr;
  }
  added->prev = behind ? item : item->prev;
  added->next = behind ? item->next : item;
  ++list->count;
  (added->prev != nullptr ? added->prev->next : list->head) = added;
  (added->next != nullptr ? added->next->prev : list->tail) = added;
  if (isNoticed(*list)) noteInserted(*list);
  return added;
}

static ztListItem *listInsertPrev(ztList &list, ztListItem *item, const void *element) {
  if (item == nullptr) return nullptr;
  if (item->prev == nullptr) return ztList_of(&list)->pushFront(&list, element);
  return insertAt(&list, item, false, element);
}

static ztListItem *listInsertNext(ztList &list, ztListItem *item, const void *element) {
  if (item == nullptr) return nullptr;
  if (item->next == nullptr) return ztList_of(&list)->pushBack(&list, element);
  return insertAt(&list, item, true, element);
}

// Removing ----------------------------------------------------------------------------------------
//
// The list has removed and no longer counts an item when a host's code runs for it.

// NULL when the list is empty.
static ztListItem *detachHead(ztList &list) {
  ztListItem *item = list.head;
  if (item == nullptr || list.tail == nullptr) return nullptr;
  list.head = item->next;
  if (list.head != nullptr) {
    list.head->prev = nullptr;
  } else {
    list.tail = nullptr;
  }
  --list.count;
  if (isNoticed(list)) noteTakenOut(list, item);
  return item;
}

// NULL when the list is empty.
static ztListItem *detachTail(ztList &list) {
  ztListItem *item = list.tail;
  if (item == nullptr || list.head == nullptr) return nullptr;
  list.tail = item->prev;
  if (list.tail != nullptr) {
    list.tail->next = nullptr;
  } else {
    list.head = nullptr;
  }
  --list.count;
  if (isNoticed(list)) noteTakenOut(list, item);
  return item;
}

static ztListItem *listPopFront(ztList &list) {
  ztListItem *item = detachHead(list);
  if (item == nullptr) return nullptr;
  // Not through the item manager: the caller owns the element now.
  if (isPlain(list) && endsPlain(item, ztListItemClass_Instance())) {
    ztm_free(item);
    return list.head;
  }
  const ContainerUse use(&list);
  ztListItem_of(item)->unRef(item);
  return use.ended() ? nullptr : list.head;
}

static ztListItem *listPopBack(ztList &list) {
  ztListItem *item = detachTail(list);
  if (item == nullptr) return nullptr;
  if (deletePlainItem(list, item)) return list.tail;
  const ContainerUse use(&list);
  deleteItem(&list, item);
  return use.ended() ? nullptr : list.tail;
}

static ztListItem *removeBetween(ztList *list, ztListItem *item) {
  ztListItem *before = item->prev;
  ztListItem *after = item->next;
  // An item between the ends has both links; one without them is in no list, or at the end of another.
  if (before == nullptr || after == nullptr) return nullptr;
  before->next = after;
  after->prev = before;
  --list->count;
  if (isNoticed(*list)) noteTakenOut(*list, item);
  if (deletePlainItem(*list, item)) return before;
  const ContainerUse use(list);
  deleteItem(list, item);
  if (use.ended() || (use.removed() && !hasItem(list, before))) return nullptr;
  return before;
}

static ztListItem *listRemoveItem(ztList &list, ztListItem *item) {
  if (item == nullptr) return nullptr;
  if (item == list.head) return ztList_of(&list)->popFront(&list);
  if (item == list.tail) return ztList_of(&list)->popBack(&list);
  return removeBetween(&list, item);
}

// False where an item is not plain.
static bool emptyPlain(ztList &list) {
  if (!isPlain(list)) return false;
  const ElementPolicy policy = policyOf(list);
  const ztClass *klass = ztListItemClass_Instance();
  while (ztListItem *item = list.head) {
    if (list.tail == nullptr || !endsPlain(item, klass)) return false;
    detachHead(list);
    releasePlain(policy, item->data);
    ztm_free(item);
  }
  return true;
}

static void listEmpty(ztList &list) {
  if (emptyPlain(list)) return clearItems(&list);
  const ContainerUse use(&list);
  while (ztListItem *item = detachHead(list)) {
    deleteItem(&list, item);
    if (use.ended()) return;
  }
  clearItems(&list);
}

// Finding -----------------------------------------------------------------------------------------

static ztListItem *listFind(const ztList &list, const void *key) {
  if (list.compareFunction == nullptr) return nullptr;
  ztListItem *item = list.head;
  while (item != nullptr && list.compareFunction(item->data, key) != 0) item = item->next;
  return item;
}

static void *dataOf(const ztListItem *item) {
  return item == nullptr ? nullptr : item->data;
}

static void *listGetBack(const ztList &list) {
  return dataOf(list.tail);
}

static void *listGetFront(const ztList &list) {
  return dataOf(list.head);
}

static ztListItem *listGetItemAt(const ztList &list, int32_t index) {
  if (index < 0) return nullptr;
  ztListItem *item = list.head;
  for (; item != nullptr && index > 0; --index) item = item->next;
  return item;
}

static void *listGetAt(const ztList &list, int32_t index) {
  return dataOf(ztList_of(&list)->getItemAt(&list, index));
}

static int32_t listGetSize(const ztList &list) {
  return static_cast<int32_t>(list.count);
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
  ContainerUse source(object);
  while (item != nullptr) {
    source.setSource(ownOfElement(copy, item->data));
    if (ztList_of(copy)->pushBack(copy, item->data) == nullptr) break;
    // If copying an element removes others, the next one may be gone.
    if (source.ended() || source.removed()) break;
    item = item->next;
  }
  if (item == nullptr) return copy;
  ztList_table()->destroy(copy);
  return nullptr;
}

static void listDestroy(ztList &list) {
  if (mayHaveTable(list)) dropTable(list);  // a host's `empty` may not do it
  ztSequenceContainer_table()->destroy(&list);
  ztList_of(&list)->empty(&list);
}

bool ztcore::hasOwnLinking(const ztClass *klass) {
  const auto *methods = static_cast<const ztListMethods *>(klass->methodTable);
  return methods->pushBack == method<listPushBack> && methods->pushFront == method<listPushFront> &&
         methods->insertPrev == method<listInsertPrev> && methods->insertNext == method<listInsertNext> &&
         methods->popFront == method<listPopFront> && methods->popBack == method<listPopBack> &&
         methods->removeItem == method<listRemoveItem> && methods->empty == method<listEmpty>;
}

static void listMethods(ztListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, listCreate);
  ZT_OVERRIDE_METHOD(methods, clone, listClone);
  ZT_CALL_PARENT_ONLY(methods, ztSequenceContainer, assign);
  ZT_OVERRIDE_METHOD(methods, destroy, method<listDestroy>);
  ZT_OVERRIDE_METHOD(methods, getSize, method<listGetSize>);
  ZT_OVERRIDE_METHOD(methods, pushBack, method<listPushBack>);
  ZT_OVERRIDE_METHOD(methods, pushFront, method<listPushFront>);
  ZT_OVERRIDE_METHOD(methods, insertPrev, method<listInsertPrev>);
  ZT_OVERRIDE_METHOD(methods, insertNext, method<listInsertNext>);
  ZT_OVERRIDE_METHOD(methods, popFront, method<listPopFront>);
  ZT_OVERRIDE_METHOD(methods, popBack, method<listPopBack>);
  ZT_OVERRIDE_METHOD(methods, removeItem, method<listRemoveItem>);
  ZT_OVERRIDE_METHOD(methods, find, method<listFind>);
  ZT_OVERRIDE_METHOD(methods, getBack, method<listGetBack>);
  ZT_OVERRIDE_METHOD(methods, getFront, method<listGetFront>);
  ZT_OVERRIDE_METHOD(methods, empty, method<listEmpty>);
  ZT_OVERRIDE_METHOD(methods, getAt, method<listGetAt>);
  ZT_OVERRIDE_METHOD(methods, getItemAt, method<listGetItemAt>);
}

ZT_DEFINE_CLASS(ztList, ztSequenceContainer, listMethods)
