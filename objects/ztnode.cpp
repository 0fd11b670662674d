#include "objects/ztnode.hh"

#include "core/ztlock.hh"
#include "core/ztpointermap.hh"

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
