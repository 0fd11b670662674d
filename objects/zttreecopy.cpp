#include "objects/zttreecopy.hh"

#include "core/ztbasec.hh"
#include "core/ztgrowing.hh"
#include "core/ztstack.hh"
#include "core/ztthread.hh"
#include "objects/ztnode.hh"
#include "tags/zttag.hh"

using namespace ztcore;

// Nodes with the library's methods are handled in loops, which use the heap. An override of a host is called
// and calls these functions again for the nodes below.

const ztRootMethods *ztcore::libraryMethodsOf(const ztRoot *node) {
  const ztClass *klass = node->klass;
  while (klass != ztTagClass_Instance() && klass != ztRootClass_Instance()) klass = klass->parent;
  return static_cast<const ztRootMethods *>(klass->methodTable);
}

static bool isTag(const ztRoot *node) {
  return libraryMethodsOf(node) == ztTagClass_Instance()->methodTable;
}

static ztTag *tagOf(ztRoot *node) {
  return reinterpret_cast<ztTag *>(node);
}

static const ztTag *tagOf(const ztRoot *node) {
  return reinterpret_cast<const ztTag *>(node);
}

// Whether a child is also above the last level. The library puts no node below itself, but a host can change
// the lists. Only a child with another holder can be such a node.
template <typename Levels>
static bool leadsBack(Levels &levels, const ztRoot *child) {
  if (holderOf(child) == levels.last().node) return false;
  int32_t level = levels.size();
  while (level > 0 && levels[level - 1].node != child) --level;
  return level > 0;
}

// Copying -----------------------------------------------------------------------------------------

namespace {

struct CopyLevel {
  const ztRoot *node;
  ztRoot *copy;
  const ztListItem *following;  // the next child of the node
};

}  // namespace

ztRoot *ztcore::copyNodeAlone(const void *node, void *target) {
  auto *copy = static_cast<ztRoot *>(ztObject_table()->clone(node, target));
  if (copy == nullptr) return nullptr;
  copy->parent = nullptr;
  copy->parentUid = -1;
  copy->children = newObject<ztRootPtrList>(ztRootPtrList_ctor);
  if (copy->children != nullptr) return copy;
  ztObject_table()->destroy(copy);
  return nullptr;
}

static ztRoot *copyAlone(const ztRoot *node) {
  void *fresh = static_cast<const ztClassFunctions *>(node->klass->classTable)->newop();
  if (fresh == nullptr) return nullptr;
  ztRoot *copy = copyNodeAlone(node, fresh);
  if (copy == nullptr) {
    ztm_free(fresh);
    return nullptr;
  }
  copy->refCount = 1;
  // It points to the source's array until the attributes are copied.
  if (isTag(node)) tagOf(copy)->attributes = nullptr;
  return copy;
}

// The copy has one reference, of the list that it is on; its parent field stays NULL.
static bool list(ztRoot *copy, ztRoot *childCopy) {
  if (ztRootPtrList_of(copy->children)->pushBack(copy->children, childCopy) != nullptr) {
    return childCopy == nullptr || rememberHolder(childCopy, copy);
  }
  if (childCopy != nullptr) ztRoot_of(childCopy)->unRef(childCopy);
  return false;
}

static bool copyChild(GrowingArray<CopyLevel> &levels, const ztRoot *child) {
  ztRoot *copy = levels.last().copy;
  if (child == nullptr) return list(copy, nullptr);
  if (leadsBack(levels, child)) return false;
  if (ztRoot_of(child)->clone == libraryMethodsOf(child)->clone) {
    ztRoot *childCopy = copyAlone(child);
    return childCopy != nullptr && list(copy, childCopy) &&
           levels.push({child, childCopy, firstChild(child)});
  }
  auto *childCopy = static_cast<ztRoot *>(stackLeft() > 0 ? copyObject(child) : nullptr);
  return childCopy != nullptr && list(copy, childCopy);
}

bool ztcore::copyChildren(const ztRoot *node, ztRoot *copy) {
  GrowingArray<CopyLevel> levels;
  if (!levels.push({node, copy, firstChild(node)})) return false;
  while (true) {
    CopyLevel &level = levels.last();
    if (level.following != nullptr) {
      const ztRoot *child = childOf(level.following);
      level.following = level.following->next;
      if (!copyChild(levels, child)) return false;
      continue;
    }
    // The caller completes the top node.
    if (levels.size() == 1) return true;
    if (isTag(level.node) && !copyAttributes(tagOf(level.node), tagOf(level.copy))) return false;
    levels.pop();
  }
}

// Assigning ---------------------------------------------------------------------------------------

namespace {

struct AssignLevel {
  ztRoot *node;
  const ztRoot *other;
  const ztListItem *own;  // the next child of each
  const ztListItem *following;
  int32_t overrides;  // how many nodes on this path are assigned by an override of a host
};

// Walks two trees in parallel, as far as both have children.
class PairWalk {
 public:
  bool push(ztRoot *node, const ztRoot *other, int32_t overrides) {
    return levels.push({node, other, firstChild(node), firstChild(other), overrides});
  }
  // Goes to the next pair of children in the last level; false behind the last.
  bool next();
  bool isEmpty() const {
    return levels.size() == 0;
  }
  bool isTop() const {
    return levels.size() == 1;
  }
  AssignLevel &last() {
    return levels.last();
  }
  void pop() {
    levels.pop();
  }
  bool leadsBack() {
    return ::leadsBack(levels, child);
  }

  ztRoot *child = nullptr;  // the current pair
  const ztRoot *source = nullptr;

 private:
  GrowingArray<AssignLevel> levels;
};

}  // namespace

bool PairWalk::next() {
  AssignLevel &level = levels.last();
  while (level.own != nullptr && level.following != nullptr) {
    child = childOf(level.own);
    source = childOf(level.following);
    level.own = level.own->next;
    level.following = level.following->next;
    if (child != nullptr && source != nullptr) return true;
  }
  return false;
}

static bool isAssignedByOverride(const ztRoot *node) {
  return ztRoot_of(node)->assign != libraryMethodsOf(node)->assign;
}

// Whether memory and stack suffice, as an estimate: the stack that overrides use is not known.
static bool canAssign(PairWalk &walk, ztRoot *node, const ztRoot *other) {
  constexpr size_t stackOfOverride = 1024;
  const size_t most = stackLeft() / stackOfOverride;
  if (!walk.push(node, other, 0)) return false;
  while (!walk.isEmpty()) {
    if (!walk.next()) {
      walk.pop();
      continue;
    }
    const int32_t overrides = walk.last().overrides + (isAssignedByOverride(walk.child) ? 1 : 0);
    if (static_cast<size_t>(overrides) > most || walk.leadsBack() ||
        !walk.push(walk.child, walk.source, overrides)) {
      return false;
    }
  }
  return true;
}

// False when stack or memory does not suffice for all below the pair.
static bool assignPair(PairWalk &walk) {
  ztRoot *child = walk.child;
  if (!isAssignedByOverride(child)) {
    return !ztObject_table()->assign(child, walk.source) || walk.push(child, walk.source, 0);
  }
  if (stackLeft() == 0) return false;
  child->flags |= nodeAssignable;
  assignCommon(child, walk.source);
  return true;
}

// The walk reuses the memory that `canAssign` allocated.
static bool assignBelow(PairWalk &walk, ztRoot *node, const ztRoot *other) {
  const uint32_t refused = thisThread.refusedAssignments;
  if (!walk.push(node, other, 0)) return false;
  while (true) {
    if (walk.next()) {
      if (!assignPair(walk)) return false;
      continue;
    }
    // The caller completes the top node.
    const AssignLevel &level = walk.last();
    if (walk.isTop()) return thisThread.refusedAssignments == refused;
    if (isTag(level.node) && isTag(level.other)) assignAttributes(tagOf(level.node), tagOf(level.other));
    walk.pop();
  }
}

int32_t ztcore::assignChildren(ztRoot *node, const ztRoot *other) {
  PairWalk walk;
  // For a node reached through an override, an earlier walk from above has checked all that is below.
  const bool isAssignable = (node->flags & nodeAssignable) != 0;
  node->flags &= ~uint32_t{nodeAssignable};
  if ((isAssignable || canAssign(walk, node, other)) && assignBelow(walk, node, other)) return 1;
  ++thisThread.refusedAssignments;
  return 0;
}
