#include "containers/ztitemtable.hh"

#include "core/ztlock.hh"
#include "core/ztmem.hh"

using namespace ztcore;

ztListItem ztcore::severalTimes;
const ztClass *ztcore::listsWithTables;

// The tables of all lists, in all threads. A table belongs to the thread of its list.
static PointerMap tables;
static uint32_t tableCount;

static uint64_t keyOf(const void *object) {
  return reinterpret_cast<uintptr_t>(object);
}

static void setLists(const ztClass *klass) {
  __atomic_store_n(&listsWithTables, klass, __ATOMIC_RELAXED);
}

static ItemTable *lookUp(const ztList &list) {
  if (!mayHaveTable(list)) return nullptr;
  const Locked locked(tablesLock);
  return static_cast<ItemTable *>(tables.find(keyOf(&list)));
}

static bool enter(const ztList &list, ItemTable *table) {
  const Locked locked(tablesLock);
  if (!tables.insert(keyOf(&list), table)) return false;
  ++tableCount;
  setLists(list.klass);
  return true;
}

static void leave(const ztList &list) {
  const Locked locked(tablesLock);
  tables.remove(keyOf(&list));
  if (--tableCount == 0) setLists(nullptr);
}

static void remember(ItemTable *table, const ztList &list) {
  table->head = list.head;
  table->tail = list.tail;
  table->count = list.count;
}

static bool fits(const ItemTable *table, const ztList &list) {
  return table->head == list.head && table->tail == list.tail && table->count == list.count &&
         hasOwnLinking(list.klass);
}

void ElementKeys::clear() {
  elements.clear();
  last = nullptr;
  owner = nullptr;
  classCount = 0;
}

ItemTable *ztcore::tableOf(const ztList &list) {
  ItemTable *table = lookUp(list);
  if (table == nullptr || fits(table, list)) return table;
  dropTable(list);
  return nullptr;
}

ItemTable *ztcore::makeTable(const ztList &list) {
  if (ItemTable *table = tableOf(list)) return table;
  if (!hasOwnLinking(list.klass)) return nullptr;
  auto *table = static_cast<ItemTable *>(hidden(ztm_alloc(sizeof(ItemTable))));
  if (table == nullptr) return nullptr;
  *table = {};
  remember(table, list);
  if (enter(list, table)) return table;
  ztm_free(table);
  return nullptr;
}

void ztcore::dropTable(const ztList &list) {
  ItemTable *table = lookUp(list);
  if (table == nullptr) return;
  leave(list);
  table->items.clear();
  table->keys.clear();
  ztm_free(table);
}

// Searching ---------------------------------------------------------------------------------------

void *ItemTable::find(const void *element) const {
  return items.find(keyOf(element));
}

bool ItemTable::cover(ztListItem *item) {
  if (item->data != nullptr) {
    if (find(item->data) != nullptr) {
      items.replace(keyOf(item->data), &severalTimes);
    } else if (!items.insert(keyOf(item->data), item)) {
      return false;
    }
  }
  last = item;
  return true;
}

// NULL also when the table does not tell.
static ztListItem *findCovered(ItemTable *table, const ztList &list, const void *element) {
  void *known = table->find(element);
  if (known != nullptr) return known == &severalTimes ? nullptr : static_cast<ztListItem *>(known);
  ztListItem *item = table->last == nullptr ? list.head : table->last->next;
  for (; item != nullptr && table->cover(item); item = item->next) {
    if (item->data == element) return item;
  }
  return nullptr;
}

ztListItem *ztcore::findItem(const ztList &list, const void *element, ztListItem *further) {
  ItemTable *table = element == nullptr ? nullptr : makeTable(list);
  ztListItem *found = table == nullptr ? nullptr : findCovered(table, list, element);
  return found != nullptr && found->data == element ? found : walkTo(further, element);
}

// Changes of lists --------------------------------------------------------------------------------

void ztcore::extendTable(const ztList &list) {
  ItemTable *table = lookUp(list);
  if (table == nullptr) return;
  const bool fitted =
      table->head == list.head && table->tail == list.tail->prev && table->count + 1 == list.count;
  if (fitted) {
    remember(table, list);
  } else {
    dropTable(list);
  }
}

static bool fittedWith(const ItemTable *table, const ztList &list, const ztListItem *removed) {
  return (table->head == list.head || table->head == removed) &&
         (table->tail == list.tail || table->tail == removed) && table->count == list.count + 1;
}

static void setBack(const ztListItem *&last, const ztListItem *removed) {
  if (last == removed) last = removed->prev;
}

// Where the item is not found under its element, it may have had another one when it was covered, and the table is
// dropped. So it is for an element that is there twice, and for an item behind the covered ones.
void ztcore::shortenTable(const ztList &list, const ztListItem *removed) {
  ItemTable *table = lookUp(list);
  if (table == nullptr) return;
  const bool isKnown = table->find(removed->data) == removed;
  setBack(table->last, removed);
  setBack(table->keys.last, removed);
  if (!isKnown || table->last == nullptr || !fittedWith(table, list, removed)) return dropTable(list);
  table->items.remove(keyOf(removed->data));
  ++table->removals;
  remember(table, list);
}
