// Tables of long lists, from an element to its item, so that a search need not walk. A table is made by a search and
// covers the items from the head to the furthest that was searched for.
//
// A host may do to a list what it wants, and the table must not notice it too late:
//  - No item leaves a list but through the functions of ztList. They report it before the item is released, so each
//    item in a table is in its list. An item that is not found there under its element was given another element,
//    and the whole table is dropped.
//  - A host may write to the `data` of items. What a table gives is compared with it. Only where this lists an
//    element twice, the later item may be found.
//  - Where an item was inserted before covered ones, a slot of the list's class is not the library's, or ends and
//    count of a list are not as the functions of ztList left them, the table is dropped.
// A table may be dropped whenever a function of a host runs.
#ifndef ZT_CONTAINERS_ZTITEMTABLE_HH
#define ZT_CONTAINERS_ZTITEMTABLE_HH

#include "containers/ztlist.h"
#include "core/ztpointermap.hh"

namespace ztcore {

// What the owner of a list has in its table: keys of elements, and the elements. The list's functions only set
// `last` back when its item leaves the list, and release the memory.
struct ElementKeys {
  static constexpr int32_t mostClasses = 8;

  PointerMap elements;     // from a key to an element, or to `severalTimes`
  const ztListItem *last;  // the last item with a key; NULL when none has
  uint64_t removals;       // those of the table that are known here
  const void *owner;
  const ztClass *classes[mostClasses];  // of the elements
  int32_t classCount;

  void clear();
};

struct ItemTable {
  PointerMap items;        // from an element to its item, or to `severalTimes`
  const ztListItem *last;  // the last item that is covered; NULL when none is
  uint64_t removals;       // the number of items that left the list
  const ztListItem *head;  // of the list, as its functions left it
  const ztListItem *tail;
  uint32_t count;
  ElementKeys keys;

  // NULL for an element that is not covered. Or `severalTimes`.
  void *find(const void *element) const;
  // Covers the next item. False when memory is exhausted.
  bool cover(ztListItem *item);
};

// The value for a key that several covered items have.
extern ztListItem severalTimes;

// A search should walk over so many items before it uses a table.
constexpr int32_t itemsWithoutTable = 16;

// The class of the lists that have tables; NULL while there is none.
extern const ztClass *listsWithTables;

// Whether there is any table.
inline bool mayHaveTables() {
  return __atomic_load_n(&listsWithTables, __ATOMIC_RELAXED) != nullptr;
}

inline bool mayHaveTable(const ztList &list) {
  return list.klass == __atomic_load_n(&listsWithTables, __ATOMIC_RELAXED);
}

// Whether the slots of a class that change the links of items have the functions of ztList.
bool hasOwnLinking(const ztClass *klass);

// The table of a list, or NULL. It fits the list.
ItemTable *tableOf(const ztList &list);
// The same; makes one for a list that has none. NULL also when memory is exhausted. All lists with tables are of one
// class.
ItemTable *makeTable(const ztList &list);
void dropTable(const ztList &list);

// The first item with an element from an item on.
inline ztListItem *walkTo(ztListItem *item, const void *element) {
  while (item != nullptr && item->data != element) item = item->next;
  return item;
}

// The first item with an element, or NULL, where no item before `further` has it. The list may get a table.
ztListItem *findItem(const ztList &list, const void *element, ztListItem *further);

// The functions of ztList call these when the list is consistent again, if it may have a table: an item was added at
// the back, or was removed and is not yet released. For any other change they drop the table.
void extendTable(const ztList &list);
void shortenTable(const ztList &list, const ztListItem *removed);

}  // namespace ztcore

#endif
