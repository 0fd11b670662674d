// Finding children in the list of a node, by node and by identifier, and removing them. Long lists have tables for
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

// The item of the first child whose identifier is that of the given node; NULL when there is none.
ztListItem *findChildWithUidOf(const ztRoot *node, const ztRoot *given);

// Removes a child's item from the list of a node; the node stays its holder.
void removeChildItem(const ztRoot *node, ztListItem *item);
// The same for the first item of that child, which may be NULL.
void removeChild(const ztRoot *node, const ztRoot *child);

// Removes a node from the list that it is on, without a signal.
void takeOff(ztRoot *node);

// The out-of-line part of the function below.
void moveUid(ztRoot *node, int32_t old);

// Called when the identifier of a node has changed.
inline void noteUid(ztRoot *node, int32_t old) {
  if (mayHaveTables()) moveUid(node, old);
}

}  // namespace ztcore

#endif
