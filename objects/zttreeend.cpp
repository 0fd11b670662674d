#include "objects/zttreeend.hh"

#include "core/ztstack.hh"
#include "core/ztthread.hh"
#include "objects/ztchildren.hh"
#include "objects/ztnode.hh"
#include "objects/zttree.hh"
#include "objects/zttreecopy.hh"

using namespace ztcore;

// Removes the child from the list before releasing it, because the release may come back to this node.
static void releaseItem(ztRoot *node, ztListItem *item) {
  ztRoot *child = childOf(item);
  removeChildItem(node, item);
  if (child == nullptr) return;
  // Such a child is already detached; whoever deletes it has its reference.
  const bool isBeingDeleted = (child->flags & nodeBeingDeleted) != 0;
  if (holderOf(child) == node) {
    forgetHolder(child);
    if (child->parent != nullptr) child->parentUid = 0;
    child->parent = nullptr;
  }
  if (!isBeingDeleted) ztRoot_of(child)->unRef(child);
}

// Whether a child does not notice that its children are destroyed before it.
static bool endsLikeTheLibrarys(const ztRoot *child) {
  const ztRootMethods *methods = ztRoot_of(child);
  const ztRootMethods *ofLibrary = libraryMethodsOf(child);
  return methods->destroy == ofLibrary->destroy && methods->unRef == ofLibrary->unRef;
}

// Whether a child, with its own children, is destroyed when its list releases it.
static bool endsWithChildren(const ztRoot *child, const ztRoot *holder) {
  return child != nullptr && firstChild(child) != nullptr && holderOf(child) == holder &&
         !(child->flags & nodeBeingDeleted) && ztRoot_of(child)->getRefCount(child) <= 2;
}

namespace {

enum class Override { sees, ignored };

}  // namespace

// An override of `destroy` finds its children listed, as long as there is stack for it.
static bool endsFromBelow(const ztRoot *child, const ztRoot *holder, Override overrides) {
  return endsWithChildren(child, holder) &&
         (overrides == Override::ignored || endsLikeTheLibrarys(child) || stackLeft() == 0);
}

// Releases the children of a node in the same order as a recursion would, from below, but uses no stack for
// levels. The way back from a node is its holder. Returns false when slots broke the path.
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

// The first node with children at which `most` nested calls of overrides of `destroy` would be reached when
// `top` is destroyed. NULL when there is none, or when memory is exhausted.
static ztRoot *findTooDeep(ztRoot *top, size_t most) {
  constexpr int64_t survives = -INT32_MAX;
  GrowingArray<int64_t> calls;  // by level of the walk
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

// Each override of `destroy` uses stack for the levels below it, and each release searches the releases under
// way. So the nodes that lie too deep for the stack are released first, from here.
static void releaseTooDeep(ztRoot *node) {
  constexpr size_t stackOfDestroy = 1024;
  const size_t most = stackLeft() / stackOfDestroy;
  while (ztRoot *deep = findTooDeep(node, most)) {
    deep->flags |= nodeOnPath;
    if (releaseBelow(deep, Override::ignored)) deep->flags &= ~uint32_t{nodeOnPath};
  }
}

void ztcore::releaseChildren(ztRoot *node) {
  // A node reached through the `destroy` of a node above was surveyed with that one.
  if (!(node->flags & nodeSurveyed) && firstChild(node) != nullptr && !endsLikeTheLibrarys(node)) {
    releaseTooDeep(node);
  }
  // Starts again when slots broke the path.
  while (!releaseBelow(node, Override::sees)) continue;
}
