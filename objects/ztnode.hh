// Nodes and their holders: the flags of nodes, and which list of children a node is on.
#ifndef ZT_OBJECTS_ZTNODE_HH
#define ZT_OBJECTS_ZTNODE_HH

#include "containers/ztlistitem.h"
#include "objects/ztobjbase.hh"
#include "objects/ztroot.h"

namespace ztcore {

// Flags of nodes in the field `flags`.
enum : uint32_t {
  nodeBeingDestroyed = firstNodeFlag << 0,  // releases its children and accepts no new ones
  nodeHeld = firstNodeFlag << 1,            // its holder is not its parent
  nodeBeingDeleted = firstNodeFlag << 2,    // the signal "childDeleted" for it is being delivered
  nodeOnPath = firstNodeFlag << 3,          // on the path of a walk that releases its children
  nodeAssignable = firstNodeFlag << 4,      // a check found enough stack to assign what is below it
  nodeSurveyed = firstNodeFlag << 5,        // nodes below it that are too deep for the stack were released
};

inline ztRoot *childOf(const ztListItem *item) {
  return static_cast<ztRoot *>(item->data);
}

inline ztListItem *firstChild(const ztRoot *node) {
  return node->children == nullptr ? nullptr : node->children->head;
}

// The one node that has this node among its children, or NULL: its parent; for a child of a copy, or a child
// whose deletion is being announced, another node.
ztRoot *holderOf(const ztRoot *node);

// Stores the holder of a node that has no parent. False when memory is exhausted.
bool rememberHolder(ztRoot *node, ztRoot *holder);
void forgetHolder(ztRoot *node);

// Whether objects of a class store and return their identifiers by the library's methods.
bool hasOwnUid(const ztClass *klass);

}  // namespace ztcore

#endif
