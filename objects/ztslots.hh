// The set of a signal's slots; a receiver may have several.
#ifndef ZT_OBJECTS_ZTSLOTS_HH
#define ZT_OBJECTS_ZTSLOTS_HH

#include "objects/ztslot.h"

namespace ztcore {

inline ztSlot *slotOf(const ztMapItem *item) {
  return static_cast<ztSlot *>(item->value);
}

inline bool isSameSlot(ztSlotFunction one, ztSlotFunction other) {
  return one.call0 == other.call0;
}

// The item of a receiver's slot with that function. NULL when there is none, or for a NULL set.
ztMapItem *findSlot(const ztSlotMap *slots, const void *receiver, ztSlotFunction function);

// Whether adding a slot to a map calls only functions of the library.
bool addsSlotsPlainly(const ztSlotMap *slots);

// Adds a slot to such a map. False when memory is exhausted.
bool addSlotPlainly(ztSlotMap *slots, const char *name, void *receiver, ztSlotFunction function);

// Whether removing one slot of a map with its own slots calls only functions of the library, besides the slot's own.
bool popsSlotsPlainly();
bool hasOwnSlots(const ztSlotMap *slots);

// The item of a receiver that is highest in the tree of such a map, which `find` returns and `pop` removes; or NULL.
const ztMapItem *topSlot(const ztSlotMap *slots, const void *receiver);

// Removes that item. False, with nothing done, when its release would call a host's function.
bool popSlotPlainly(ztSlotMap *slots, const ztMapItem *top);

// Removes one slot of a receiver, by its item. False when the set keeps it.
bool removeSlot(ztSlotMap *slots, const void *receiver, const ztMapItem *unwanted);

// Removes all slots of a receiver. Ignores a NULL set.
void removeReceiver(ztSlotMap *slots, const void *receiver);

// The same where popsSlotsPlainly() holds, without calling a function of a host. False when slots are left that only
// such a function may remove.
bool removeReceiverPlainly(ztSlotMap *slots, const void *receiver);

// The same except for slots with one function.
void removeReceiverExcept(ztSlotMap *slots, const void *receiver, ztSlotFunction kept);

}  // namespace ztcore

#endif
