#include "objects/ztslots.hh"

#include "containers/ztavltree.h"
#include "containers/ztcompare.hh"
#include "containers/ztmapiter.h"
#include "containers/ztuse.hh"

#include <utility>

using namespace ztcore;

static ztMapItem *mapItem(void *item) {
  return static_cast<ztMapItem *>(item);
}

namespace {

// Walks the slots of one receiver, in map order. Valid until the map changes.
class ReceiverSlots {
 public:
  ReceiverSlots(const ztSlotMap *slots, const void *wanted) : receiver(wanted) {
    ztMapIterator_ctor(&walk, 1);
    if (slots != nullptr && slots->tree != nullptr) start(slots->tree);
  }
  ~ReceiverSlots() {
    ztMapIterator_of(&walk)->destroy(&walk);
  }
  ReceiverSlots(const ReceiverSlots &) = delete;
  ReceiverSlots &operator=(const ReceiverSlots &) = delete;

  // NULL behind the last.
  ztMapItem *item() const {
    return current != nullptr && current->data == receiver ? current : nullptr;
  }
  void next() {
    current = mapItem(ztMapIterator_of(&walk)->next(&walk));
  }

 private:
  // Sets the iterator to the first item that does not sort before the receiver: the last item on the way down
  // from which the search went left.
  void start(const ztAvlTree *tree) {
    walk.tree = tree;
    uint32_t depth = 0;
    ztAvlTreeItem *found = nullptr;
    uint32_t foundDepth = 0;
    for (ztAvlTreeItem *item = tree->root; item != nullptr;) {
      const bool before = ztSlotMap_key_compare_func_ptr(item->data, receiver) < 0;
      walk.path[depth] = item;
      if (!before) {
        found = item;
        foundDepth = depth;
      }
      ++depth;
      item = before ? item->right : item->left;
    }
    walk.current = found;
    walk.depth = foundDepth;
    current = mapItem(found);
  }

  const void *receiver;
  ztMapIterator walk;
  ztMapItem *current = nullptr;
};

}  // namespace

// The first item in map order below this one. Items of one receiver lie together, but on both sides of each other.
static ztAvlTreeItem *findBelow(ztAvlTreeItem *item, const void *receiver, ztSlotFunction function) {
  while (item != nullptr) {
    const int32_t order = compareWords<uintptr_t>(item->data, receiver);
    if (order == 0) {
      ztAvlTreeItem *earlier = findBelow(item->left, receiver, function);
      if (earlier != nullptr) return earlier;
      const ztSlot *slot = slotOf(mapItem(item));
      if (slot->receiver == receiver && isSameSlot(slot->function, function)) return item;
    }
    item = order > 0 ? item->left : item->right;
  }
  return nullptr;
}

ztMapItem *ztcore::findSlot(const ztSlotMap *slots, const void *receiver, ztSlotFunction function) {
  if (slots == nullptr || slots->tree == nullptr) return nullptr;
  return mapItem(findBelow(slots->tree->root, receiver, function));
}

const ztMapItem *ztcore::topSlot(const ztSlotMap *slots, const void *receiver) {
  ztAvlTreeItem *item = slots->tree->root;
  while (item != nullptr && item->data != receiver) {
    item = compareWords<uintptr_t>(item->data, receiver) < 0 ? item->right : item->left;
  }
  return mapItem(item);
}

bool ztcore::removeReceiverPlainly(ztSlotMap *slots, const void *receiver) {
  if (slots == nullptr) return true;
  if (!hasOwnSlots(slots)) return false;
  const ztMapItem *top = topSlot(slots, receiver);
  while (top != nullptr && popSlotPlainly(slots, top)) top = topSlot(slots, receiver);
  return top == nullptr;
}

void ztcore::removeReceiver(ztSlotMap *slots, const void *receiver) {
  if (slots == nullptr || (popsSlotsPlainly() && removeReceiverPlainly(slots, receiver))) return;
  const ztSlotMapMethods *methods = ztSlotMap_of(slots);
  // A removal moves items, so each is looked up again. Stops when a host's map does not remove an item, and when a
  // slot's name of a host's class released the map.
  const ContainerUse use(slots);
  while (!use.ended() && methods->find(slots, receiver) != nullptr && methods->pop(slots, receiver)) {
  }
}

// Moves the slot of the current item into the item `last`, and those between one item back.
static void moveLater(ReceiverSlots &walk, const void *last) {
  for (ztMapItem *item = walk.item(); item != last; item = walk.item()) {
    walk.next();
    std::swap(item->value, walk.item()->value);
  }
}

// Moves the slot of the item `last` into the current item, and those between one item on.
static void moveEarlier(ReceiverSlots &walk, const ztMapItem *last) {
  void *carried = last->value;
  for (;; walk.next()) {
    std::swap(walk.item()->value, carried);
    if (walk.item() == last) return;
  }
}

static bool isAmong(const ztSlotMap *slots, const void *receiver, const void *item) {
  ReceiverSlots walk(slots, receiver);
  while (walk.item() != nullptr && walk.item() != item) walk.next();
  return walk.item() != nullptr;
}

// `pop` removes the item that `find` returns. So the unwanted slot is moved into that item, and the slots
// between move by one item each, which keeps their order. In a map with a host's own order, `find` may return
// none of the receiver's items: then nothing is removed.
bool ztcore::removeSlot(ztSlotMap *slots, const void *receiver, const ztMapItem *unwanted) {
  const bool isPlain = popsSlotsPlainly() && hasOwnSlots(slots);
  const void *first = isPlain ? static_cast<const void *>(topSlot(slots, receiver))
                              : ztSlotMap_of(slots)->find(slots, receiver);
  if (isPlain && first == unwanted && popSlotPlainly(slots, unwanted)) return true;
  if (!isAmong(slots, receiver, first)) return false;
  ReceiverSlots walk(slots, receiver);
  while (walk.item() != first && walk.item() != unwanted) walk.next();
  if (walk.item() == unwanted) {
    moveLater(walk, first);
  } else {
    moveEarlier(walk, unwanted);
  }
  return ztSlotMap_of(slots)->pop(slots, receiver) != 0;
}

void ztcore::removeReceiverExcept(ztSlotMap *slots, const void *receiver, ztSlotFunction kept) {
  if (slots == nullptr) return;
  for (;;) {
    const ztMapItem *unwanted = nullptr;
    for (ReceiverSlots walk(slots, receiver); walk.item() != nullptr && unwanted == nullptr; walk.next()) {
      if (!isSameSlot(slotOf(walk.item())->function, kept)) unwanted = walk.item();
    }
    if (unwanted == nullptr || !removeSlot(slots, receiver, unwanted)) return;
  }
}
