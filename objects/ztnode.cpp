#include "objects/ztnode.hh"

#include "core/ztlock.hh"
#include "core/ztpointermap.hh"
#include "core/ztthread.hh"

using namespace ztcore;

// A node is on one list at a time, and it is known on whose: otherwise its end would leave a pointer
// behind, and the end of two lists would release it twice.

// Who lists the nodes that are marked nodeHeld; for the nodes of all threads.
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

// A release that goes up and down below another node has to notice when its way back is cut.
static void leavePath(ztRoot *node) {
  if (!(node->flags & nodeOnPath)) return;
  node->flags &= ~uint32_t{nodeOnPath};
  ++thisThread.brokenPaths;
}

void ztcore::removeChildItem(const ztRoot *node, ztListItem *item) {
  if (item->data != nullptr) leavePath(childOf(item));
  ztRootPtrList_of(node->children)->removeItem(node->children, item);
}

void ztcore::removeChild(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = firstChild(node);
  while (item != nullptr && item->data != child) item = item->next;
  if (item != nullptr) removeChildItem(node, item);
}

void ztcore::takeOff(ztRoot *node) {
  const ztRoot *holder = holderOf(node);
  leavePath(node);
  forgetHolder(node);
  node->parent = nullptr;
  if (holder != nullptr) removeChild(holder, node);
}
