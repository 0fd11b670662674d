#include "objects/zttreeend.hh"

#include "core/ztstack.hh"
#include "core/ztthread.hh"
#include "objects/ztnode.hh"
#include "objects/zttree.hh"
#include "objects/zttreecopy.hh"

using namespace ztcore;

// A child leaves the list before its release, which may reach this node again.
static void releaseItem(ztRoot *node, ztListItem *item) {
  ztRoot *child = childOf(item);
  removeChildItem(node, item);
  if (child == nullptr) return;
  // Detached already: its reference was left to whoever deletes it.
  const bool isBeingDeleted = (child->flags & nodeBeingDeleted) != 0;
  if (holderOf(child) == node) {
    forgetHolder(child);
    if (child->parent != nullptr) child->parentUid = 0;
    child->parent = nullptr;
  }
  if (!isBeingDeleted) ztRoot_of(child)->unRef(child);
}

// Whether a child does not notice that its children end ahead of it.
static bool endsLikeTheLibrarys(const ztRoot *child) {
  const ztRootMethods *methods = ztRoot_of(child);
  const ztRootMethods *ofLibrary = libraryMethodsOf(child);
  return methods->destroy == ofLibrary->destroy && methods->unRef == ofLibrary->unRef;
}

// Whether a child, and with it its own children, ends when its list releases it.
static bool endsWithChildren(const ztRoot *child, const ztRoot *holder) {
  return child != nullptr && firstChild(child) != nullptr && holderOf(child) == holder &&
         !(child->flags & nodeBeingDeleted) && ztRoot_of(child)->getRefCount(child) <= 2;
}

namespace {

enum class Override { sees, ignored };

}  // namespace

// A host's own `destroy` finds its children listed, as long as there is stack for it.
static bool endsFromBelow(const ztRoot *child, const ztRoot *holder, Override overrides) {
  return endsWithChildren(child, holder) &&
         (overrides == Override::ignored || endsLikeTheLibrarys(child) || stackLeft() == 0);
}

// Releases the children of a node in the same order as by recursion, from below, but with no more stack for
// more levels. The path down to the present node is the nodes' own: each knows its holder. Returns false
// when slots took the path apart.
static bool releaseBelow(ztRoot *node, Override overrides) {
  ztRoot *at = node;
  while (firstChild(node) != nullptr) {
    ztListItem *first = firstChild(at);
    if (first == nullptr) {
      at->flags &= ~uint32_t{nodeOnPath};
      at = holderOf(at);
      continue;
    }
    ztRoot *child = childOf(first);
    if (endsFromBelow(child, at, overrides)) {
      child->flags |= nodeOnPath;
      at = child;
      continue;
    }
    const uint32_t broken = thisThread.brokenPaths;
    releaseItem(at, first);
    if (thisThread.brokenPaths != broken) return false;
  }
  return true;
}

// The first node with children to which so many calls of hosts' own `destroy` lead, one inside the other,
// when `top` ends. NULL when there is none, or no memory to find it.
static ztRoot *findTooDeep(ztRoot *top, size_t most) {
  constexpr int64_t survives = -INT32_MAX;
  GrowingArray<int64_t> calls;  // by the level of the walk
  TreeWalk walk(top);
  for (walk.next(); walk.current() != nullptr; walk.next()) {
    ztRoot *node = walk.current();
    while (calls.size() > 0 && calls.size() >= walk.depth()) calls.pop();
    int64_t call = calls.size() == 0 ? 0 : calls.last();
    if (firstChild(node) != nullptr && !endsLikeTheLibrarys(node)) {
      call = endsWithChildren(node, walk.above()) ? call + 1 : survives;
      node->flags |= nodeSurveyed;
      if (call >= static_cast<int64_t>(most)) return node;
    }
    if (!calls.push(call)) return nullptr;
  }
  return nullptr;
}

// Each `destroy` of a host's takes stack for those below it, and each release looks through those that are
// under way. So what lies deeper than the stack reaches goes first, from here.
static void releaseTooDeep(ztRoot *node) {
  constexpr size_t stackOfDestroy = 1024;
  const size_t most = stackLeft() / stackOfDestroy;
  while (ztRoot *deep = findTooDeep(node, most)) {
    deep->flags |= nodeOnPath;
    if (releaseBelow(deep, Override::ignored)) deep->flags &= ~uint32_t{nodeOnPath};
  }
}

void ztcore::releaseChildren(ztRoot *node) {
  // A node that is reached through the `destroy` of one above it was looked at with that one.
  if (!(node->flags & nodeSurveyed) && firstChild(node) != nullptr && !endsLikeTheLibrarys(node)) {
    releaseTooDeep(node);
  }
  // Slots took the path apart: begin again.
  while (!releaseBelow(node, Override::sees)) continue;
}
