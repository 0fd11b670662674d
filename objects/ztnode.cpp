#include "objects/ztnode.hh"

#include "core/ztlock.hh"
#include "core/ztthread.hh"
#include "core/ztpointermap.hh"

// A node is on one list at a time, and it is known on whose: otherwise its end would leave a pointer
// behind, and the end of two lists would release it twice.

// Who lists the nodes that are marked ztNodeListed; for the nodes of all threads.
static PointerMap holders;

static uint64_t keyOf(const ztRoot *node) {
  return reinterpret_cast<uintptr_t>(node);
}

ztRoot *ztHolderOf(const ztRoot *node) {
  if (node->parent != nullptr) return node->parent;
  if (!(node->marks & ztNodeListed)) return nullptr;
  const ztLocked locked(ztTablesLock);
  return static_cast<ztRoot *>(holders.find(keyOf(node)));
}

bool ztRememberHolder(ztRoot *node, ztRoot *holder) {
  const ztLocked locked(ztTablesLock);
  if (!holders.insert(keyOf(node), holder)) return false;
  node->marks |= ztNodeListed;
  return true;
}

void ztForgetHolder(ztRoot *node) {
  if (node->marks & ztNodeListed) {
    const ztLocked locked(ztTablesLock);
    holders.remove(keyOf(node));
  }
  node->marks &= ~(ztNodeListed | ztNodeLeaving);
}

// A release that goes up and down below another node has to notice when its way back is cut.
static void leavePath(ztRoot *node) {
  if (!(node->marks & ztNodeOnPath)) return;
  node->marks &= ~uint32_t{ztNodeOnPath};
  ++ztThisThread.brokenPaths;
}

void ztRemoveItem(const ztRoot *node, ztListItem *item) {
  if (item->data != nullptr) leavePath(ztChildOf(item));
  ztRootPtrList_of(node->children)->removeItem(node->children, item);
}

void ztRemoveChild(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = ztFirstChild(node);
  while (item != nullptr && item->data != child) item = item->next;
  if (item != nullptr) ztRemoveItem(node, item);
}

void ztTakeOff(ztRoot *node) {
  const ztRoot *holder = ztHolderOf(node);
  leavePath(node);
  ztForgetHolder(node);
  node->parent = nullptr;
  if (holder != nullptr) ztRemoveChild(holder, node);
}
