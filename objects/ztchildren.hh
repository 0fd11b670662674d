// Finding the item of a child in its parent's list, and the first child with an identifier. Long lists have tables for
// both; see containers/ztitemtable.hh.
//
// An identifier belongs to the class: where a child's class has its own `getUid`, `setUid` or `generateUid`, all
// children from it on are asked one by one. So are those behind a child that the list does not hold, because nobody
// learns that its identifier changes.
#ifndef ZT_OBJECTS_ZTCHILDREN_HH
#define ZT_OBJECTS_ZTCHILDREN_HH

#include "containers/ztitemtable.hh"
#include "objects/ztroot.h"

namespace ztcore {

// The first item of a child, which may be NULL. NULL when there is none.
ztListItem *findChild(const ztRoot *node, const ztRoot *child);

// The item of the first child whose identifier is that of the given node; NULL when there is none.
ztListItem *findChildWithUidOf(const ztRoot *node, const ztRoot *given);

// Called before a child's item is removed from the list of a node.
void forgetUid(const ztRoot *node, const ztRoot *child);

// The out-of-line part of the function below.
void moveUid(ztRoot *node, int32_t old);

// Called when the identifier of a node has changed.
inline void noteUid(ztRoot *node, int32_t old) {
  if (__atomic_load_n(&listsWithTables, __ATOMIC_RELAXED) != nullptr) moveUid(node, old);
}

}  // namespace ztcore

#endif
