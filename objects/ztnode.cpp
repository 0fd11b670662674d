#include "objects/ztnode.hh"

#include "core/ztlock.hh"
#include "core/ztpointermap.hh"
#include "core/ztthread.hh"
#include "objects/ztchildren.hh"

using namespace ztcore;

// A node is on one list at a time, and its holder is known. Otherwise a destroyed node would leave a pointer in
// a list, and two destroyed lists would release it twice.

// The holders of all nodes with the flag nodeHeld, in all threads.
static PointerMap holders;

static uint64_t keyOf(const ztRoot *node) {
  return reinterpret_cast<uintptr_t>(node);
}

ztRoot *ztcore::holderOf(const ztRoot *node) {
  if (node->parent != nullptr) return node->parent;
  if (!(node->flags & nodeHeld)) return nullptr;
  const Locked locked(tablesLock);
  return static_cast<ztRoot *>(holders.find(keyOf(node)));
}

bool ztcore::rememberHolder(ztRoot *node, ztRoot *holder) {
  const Locked locked(tablesLock);
  if (!holders.insert(keyOf(node), holder)) return false;
  node->flags |= nodeHeld;
  return true;
}

void ztcore::forgetHolder(ztRoot *node) {
  if (node->flags & nodeHeld) {
    const Locked locked(tablesLock);
    holders.remove(keyOf(node));
  }
  node->flags &= ~(nodeHeld | nodeBeingDeleted);
}

// A walk that releases nodes below a common node must notice that its way back is broken.
static void leavePath(ztRoot *node) {
  if (!(node->flags & nodeOnPath)) return;
  node->flags &= ~uint32_t{nodeOnPath};
  ++thisThread.brokenPaths;
}

void ztcore::removeChildItem(const ztRoot *node, ztListItem *item) {
  if (item->data != nullptr) leavePath(childOf(item));
  forgetUid(node, childOf(item));
  ztRootPtrList_of(node->children)->removeItem(node->children, item);
}

void ztcore::removeChild(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = findChild(node, child);
  if (item != nullptr) removeChildItem(node, item);
}

void ztcore::takeOff(ztRoot *node) {
  const ztRoot *holder = holderOf(node);
  leavePath(node);
  forgetHolder(node);
  node->parent = nullptr;
  if (holder != nullptr) removeChild(holder, node);
}
