// A node and the one that holds it: the flags of nodes, their lists of children, and whose list a node is on.
#ifndef ZT_OBJECTS_ZTNODE_HH
#define ZT_OBJECTS_ZTNODE_HH

#include "containers/ztlistitem.h"
#include "objects/ztobjbase.hh"
#include "objects/ztroot.h"

namespace ztcore {

// Further flags in the field `flags`.
enum : uint32_t {
  nodeBeingDestroyed = firstNodeFlag << 0,  // releases its children and takes no new ones
  nodeHeld = firstNodeFlag << 1,            // held by one that is not its parent
  nodeBeingDeleted = firstNodeFlag << 2,    // such a node while its deletion is being announced
  nodeOnPath = firstNodeFlag << 3,          // another releases its children below this one
  nodeAssignable = firstNodeFlag << 4,      // an assignment below it is known to have the stack that it needs
  nodeSurveyed = firstNodeFlag << 5,        // what lies below it too deep for the stack was released
};

inline ztRoot *childOf(const ztListItem *item) {
  return static_cast<ztRoot *>(item->data);
}

inline ztListItem *firstChild(const ztRoot *node) {
  return node->children == nullptr ? nullptr : node->children->head;
}

// The one node that has this node among its children: its parent; or, for the child of a copy and
// for a child whose deletion is being announced, a node that is not its parent. NULL for none.
ztRoot *holderOf(const ztRoot *node);

// Notes who holds a node that has no parent. False without memory.
bool rememberHolder(ztRoot *node, ztRoot *holder);
void forgetHolder(ztRoot *node);

// Takes a child off the list of a node, which stays its holder.
void removeChildItem(const ztRoot *node, ztListItem *item);
// The same for the first item of that child, NULL among them, if there is one.
void removeChild(const ztRoot *node, const ztRoot *child);

// Takes a node off the list that it is on, unannounced.
void takeOff(ztRoot *node);

}  // namespace ztcore

#endif
