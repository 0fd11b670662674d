#include "objects/ztroot.h"

#include "containers/ztcompare.hh"
#include "containers/ztlistitem.h"
#include "containers/ztpointers.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztmethod.hh"
#include "core/ztstack.hh"
#include "core/zttext.hh"
#include "core/ztthread.hh"
#include "io/ztfile.h"
#include "objects/ztobject.hh"
#include "objects/zttree.hh"
#include "support/ztcutils.h"

#include <stdio.h>

ZT_PIN_CLASS(ztRoot, 152, 48);
ZT_PIN_FIELD(ztRoot, children, 40);
ZT_PIN_FIELD(ztRoot, name, 48);
ZT_PIN_FIELD(ztRoot, uid, 128);
ZT_PIN_FIELD(ztRoot, parentUid, 132);
ZT_PIN_FIELD(ztRoot, parent, 136);
ZT_PIN_FIELD(ztRoot, reservedWord, 144);
ZT_PIN_SLOT(ztRoot, setName, 32);
ZT_PIN_SLOT(ztRoot, addChild, 41);
ZT_PIN_SLOT(ztRoot, getChildCount, 45);
ZT_PIN_SLOT(ztRoot, reserved2, 47);
ZT_PIN_CLASS(ztRootPtrList, 88, 40);

static ztRoot *nodeOf(void *object) {
  return static_cast<ztRoot *>(object);
}

static const ztRoot *nodeOf(const void *object) {
  return static_cast<const ztRoot *>(object);
}

// Name and identifier -----------------------------------------------------------------------------

static char *rootSetName(void *object, const char *name) {
  if (object == nullptr) return nullptr;
  ztCopyText(nodeOf(object)->name, name);
  return nodeOf(object)->name;
}

static const char *rootGetName(const void *object) {
  return object == nullptr ? nullptr : nodeOf(object)->name;
}

static int32_t rootGenerateUid(void *object) {
  if (object == nullptr) return 0;
  nodeOf(object)->uid = ztCu_genUniqueId();
  return nodeOf(object)->uid;
}

static void rootSetUid(void *object, int32_t uid) {
  if (object != nullptr) nodeOf(object)->uid = uid;
}

static int32_t rootGetUid(const void *object) {
  return object == nullptr ? 0 : nodeOf(object)->uid;
}

// Lists -------------------------------------------------------------------------------------------
//
// A node is on one list at a time, and it is known on whose: otherwise its end would leave a pointer
// behind, and the end of two lists would release it twice.

// Who lists the nodes that are marked ztNodeListed; for the nodes of all threads.
static WordTable listers;

static uint64_t keyOf(const ztRoot *node) {
  return reinterpret_cast<uintptr_t>(node);
}

ztRoot *ztListerOf(const ztRoot *node) {
  if (node->parent != nullptr) return node->parent;
  if (!(node->marks & ztNodeListed)) return nullptr;
  const ztLocked locked(ztTablesLock);
  return static_cast<ztRoot *>(listers.find(keyOf(node)));
}

bool ztRememberLister(ztRoot *node, ztRoot *lister) {
  const ztLocked locked(ztTablesLock);
  if (!listers.insert(keyOf(node), lister)) return false;
  node->marks |= ztNodeListed;
  return true;
}

static void forgetLister(ztRoot *node) {
  if (node->marks & ztNodeListed) {
    const ztLocked locked(ztTablesLock);
    listers.remove(keyOf(node));
  }
  node->marks &= ~(ztNodeListed | ztNodeLeaving);
}

// A release that goes up and down below another node has to notice when its way back is cut.
static void leavePath(ztRoot *node) {
  if (!(node->marks & ztNodeOnPath)) return;
  node->marks &= ~uint32_t{ztNodeOnPath};
  ++ztThisThread.brokenPaths;
}

static void removeItem(const ztRoot *node, ztListItem *item) {
  if (item->data != nullptr) leavePath(ztChildOf(item));
  ztRootPtrList_of(node->children)->removeItem(node->children, item);
}

static void removeListed(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = ztFirstChild(node);
  while (item != nullptr && item->data != child) item = item->next;
  if (item != nullptr) removeItem(node, item);
}

// Takes a node off the list that it is on, unannounced.
static void takeOff(ztRoot *node) {
  const ztRoot *lister = ztListerOf(node);
  leavePath(node);
  forgetLister(node);
  node->parent = nullptr;
  if (lister != nullptr) removeListed(lister, node);
}

// The way up from a node. A host can make it lead round, by taking a node off its parent's list.
namespace {

class WayUp {
 public:
  explicit WayUp(const ztRoot *from) : node(from), seen(from) {}

  // NULL above the top, and where the way leads round.
  const ztRoot *current() const {
    return node;
  }
  void next() {
    node = ztListerOf(node);
    leadsRound = node != nullptr && node == seen;
    if (leadsRound) node = nullptr;
    if (++steps == stride) {
      seen = node;
      stride *= 2;
    }
  }
  bool isRound() const {
    return leadsRound;
  }

 private:
  const ztRoot *node;
  const ztRoot *seen;  // an earlier one, ever farther apart
  uint64_t steps = 0;
  uint64_t stride = 2;
  bool leadsRound = false;
};

}  // namespace

// Whether a node is `top` or below it. The way up is as long as the tree is deep; after some steps of it, each
// one is matched by a step through what is below `top`, so that of two trees that are joined the smaller one
// tells what it costs.
static bool isWithin(const ztRoot *node, const ztRoot *top) {
  constexpr int32_t fewSteps = 64;
  WayUp up(node);
  for (int32_t i = 0; i < fewSteps && up.current() != nullptr; ++i) {
    if (up.current() == top) return true;
    up.next();
  }
  TreeWalk below(const_cast<ztRoot *>(top));
  while (up.current() != nullptr && up.current() != top) {
    up.next();
    if (below.current() == nullptr) continue;
    if (below.current() == node) return true;
    below.next();
    if (below.current() == nullptr && !below.failed()) return false;
  }
  return up.current() != nullptr || up.isRound();
}

// The parent --------------------------------------------------------------------------------------

static void *rootGetParent(const void *object) {
  return object == nullptr ? nullptr : nodeOf(object)->parent;
}

static bool attach(ztRoot *node, ztRoot *parent) {
  if (parent->children == nullptr || ((node->marks | parent->marks) & ztNodeEnding)) return false;
  // Asked for ahead of all changes, since a host's own may not return.
  const int32_t parentUid = ztRoot_of(parent)->getUid(parent);
  // A copied child of the parent's keeps its place.
  const bool isListed = ztListerOf(node) == parent && !(node->marks & ztNodeLeaving);
  if (isListed) {
    forgetLister(node);
  } else {
    if (ztRootPtrList_of(parent->children)->pushBack(parent->children, node) == nullptr) return false;
    // When the parent lists the node twice now, it is the earlier place that goes.
    takeOff(node);
  }
  node->parent = parent;
  node->parentUid = parentUid;
  ztRoot_of(node)->ref(node);
  return true;
}

// False when a slot of "childDeleted" ended the node.
static bool leaveParent(ztRoot *node, void *parent) {
  ztRoot_of(node)->ref(node);
  ObjectWatch watch(node);
  ztRoot_of(parent)->deleteChild(parent, node);
  if (!watch.isAlive()) return false;
  // Among equal identifiers it was another child that went, and a slot may have attached this one.
  takeOff(node);
  node->parentUid = 0;
  return true;
}

static bool isBelow(const ztRoot *parent, const ztRoot *node) {
  // Without children, only the node itself is below it.
  return ztFirstChild(node) == nullptr ? parent == node : isWithin(parent, node);
}

static int32_t rootSetParent(void *object, void *newParent) {
  if (object == nullptr) return 0;
  ztRoot *node = nodeOf(object);
  ztRoot *parent = nodeOf(newParent);
  void *current = ztRoot_of(node)->getParent(node);
  if (current == newParent) return 1;
  if (isBelow(parent, node)) return 0;
  if (current != nullptr) {
    ObjectWatch watch(parent);
    if (!leaveParent(node, current)) return 0;
    if (parent != nullptr && (!watch.isAlive() || isBelow(parent, node))) return 0;
  }
  return parent == nullptr || attach(node, parent);
}

static void rootUpdate(void *) {}

// Direct children at any level of the walk, and what lies below the last child of each.
static void *searchBelow(const ztRoot *node, int32_t uid) {
  if (node == nullptr) return nullptr;
  void *found = nullptr;
  for (const ztListItem *item = ztFirstChild(node); item != nullptr; item = item->next) {
    ztRoot *child = ztChildOf(item);
    if (child != nullptr && ztRoot_of(child)->getUid(child) == uid) return child;
    found = searchBelow(child, uid);
  }
  return found;
}

// Searches from the node above the top of the tree, where there is none: no child is ever refused for
// an identifier that the tree has already. So the way up is gone only as far as a host's `getParent` leads.
static void *rootFindChildById(const void *object, int32_t uid) {
  const void *top = object;
  while (top != nullptr && ztRoot_of(top)->getParent != rootGetParent) top = ztRoot_of(top)->getParent(top);
  return searchBelow(nullptr, uid);
}

// A class's nodes may be announced by several threads at once.
static void clearWord(void *&word) {
  __atomic_store_n(&word, nullptr, __ATOMIC_RELAXED);
}

static void emitChild(ztRoot *node, const char *signalName, ztRoot *child) {
  ztEmit(node, signalName, EmittedValue(reinterpret_cast<intptr_t>(child)));
}

static void rootAddChild(void *object, void *given) {
  if (object == nullptr || given == nullptr) return;
  ztRoot *node = nodeOf(object);
  ztRoot *child = nodeOf(given);
  const ztRootMethods *methods = ztRoot_of(child);
  if (ztRoot_of(node)->findChildById(node, methods->getUid(child)) != nullptr) return;
  ObjectWatch watch(node);
  if (!methods->setParent(child, node) || !watch.isAlive()) return;
  clearWord(static_cast<ztRootMethods *>(node->klass->methodTable)->reserved1);
  emitChild(node, "childAdded", child);
}

static ztListItem *findByUid(const ztRoot *node, int32_t uid) {
  for (ztListItem *item = ztFirstChild(node); item != nullptr; item = item->next) {
    const ztRoot *child = ztChildOf(item);
    if (child != nullptr && ztRoot_of(child)->getUid(child) == uid) return item;
  }
  return nullptr;
}

static void rootDeleteChild(void *object, void *given) {
  if (object == nullptr || given == nullptr) return;
  ztRoot *node = nodeOf(object);
  ztListItem *item = findByUid(node, ztRoot_of(given)->getUid(given));
  if (item == nullptr) return;
  ztRoot *child = ztChildOf(item);
  if (child->marks & ztNodeLeaving) {
    takeOff(child);  // a slot of "childDeleted" deletes the same child
    return;
  }
  child->parent = nullptr;
  child->parentUid = 0;
  clearWord(static_cast<ztRootMethods *>(node->klass->methodTable)->reserved2);
  if (ztRememberLister(child, node)) {
    child->marks |= ztNodeLeaving;
  } else {
    removeItem(node, item);  // without memory it goes first
  }
  ObjectWatch watch(child);
  emitChild(node, "childDeleted", child);
  // A slot may have deleted, attached or ended it already, or ended the node.
  if (watch.isAlive() && (child->marks & ztNodeLeaving)) takeOff(child);
}

static const ztRootPtrList *childrenOf(const void *object) {
  return object == nullptr ? nullptr : nodeOf(object)->children;
}

static int32_t rootGetChildCount(const void *object) {
  const ztRootPtrList *children = childrenOf(object);
  return children == nullptr ? 0 : ztRootPtrList_of(children)->getSize(children);
}

static void *rootGetChildAt(const void *object, int32_t index) {
  const ztRootPtrList *children = childrenOf(object);
  return children == nullptr ? nullptr : ztRootPtrList_of(children)->getAt(children, index);
}

static int32_t rootDeleteAllChild(ztRoot &node) {
  const ztRootMethods *methods = ztRoot_of(&node);
  ObjectWatch watch(&node);
  while (watch.isAlive() && methods->getChildCount(&node) > 0) {
    void *child = methods->getChildAt(&node, 0);
    if (child != nullptr) {
      methods->deleteChild(&node, child);
    } else {
      removeListed(nodeOf(&node), nullptr);
    }
  }
  return 0;
}

// Properties --------------------------------------------------------------------------------------

static int32_t rootInitProperties(ztClass *klass) {
  const auto *methods = static_cast<const ztRootMethods *>(klass->methodTable);
  ztGetter getter;
  ztSetter setter;
  getter.getInt = methods->getUid;
  setter.setInt = methods->setUid;
  ztDeclareProperty(klass, "uniqueID", "ztInt", getter, setter, "ztIntPropertyType", ztIntPropertyType_ctor);
  getter.getText = methods->getName;
  setter.setText = methods->setName;
  return ztDeclareProperty(klass, "name", "ztCharPtr", getter, setter, "ztCharPtrPropertyType",
                           ztCharPtrPropertyType_ctor);
}

// Life of a node ----------------------------------------------------------------------------------

static void nameNode(ztRoot *node) {
  static uint32_t created;  // one count for the nodes of all classes and threads
  const uint32_t number = __atomic_fetch_add(&created, 1, __ATOMIC_RELAXED);
  char name[sizeof(ztClassEntry::name) + 16];
  snprintf(name, sizeof name, "%s_%d", node->klass->name, static_cast<int32_t>(number));
  ztRoot_of(node)->setName(node, name);
}

static int32_t rootCreate(void *object) {
  ztRoot *node = nodeOf(object);
  node->children = nullptr;
  node->parent = nullptr;
  node->reservedWord = nullptr;
  node->parentUid = -1;
  ztCopyText(node->name, "");
  if (!ztObject_table()->create(object)) return 0;
  nameNode(node);
  ztRoot_of(node)->generateUid(node);
  node->children = ztNewObject<ztRootPtrList>(ztRootPtrList_ctor);
  return node->children != nullptr;
}

// A child leaves the list before its release, which may reach this node again.
static void releaseItem(ztRoot *node, ztListItem *item) {
  ztRoot *child = ztChildOf(item);
  removeItem(node, item);
  if (child == nullptr) return;
  // Detached already: its reference was left to whoever deletes it.
  const bool isLeaving = (child->marks & ztNodeLeaving) != 0;
  if (ztListerOf(child) == node) {
    forgetLister(child);
    if (child->parent != nullptr) child->parentUid = 0;
    child->parent = nullptr;
  }
  if (!isLeaving) ztRoot_of(child)->unRef(child);
}

// Whether a child does not notice that its children end ahead of it.
static bool endsLikeTheLibrarys(const ztRoot *child) {
  const ztRootMethods *methods = ztRoot_of(child);
  const ztRootMethods *ofLibrary = ztLibraryMethodsOf(child);
  return methods->destroy == ofLibrary->destroy && methods->unRef == ofLibrary->unRef;
}

// Whether a child, and with it its own children, ends when its list releases it.
static bool endsWithChildren(const ztRoot *child, const ztRoot *lister) {
  return child != nullptr && ztFirstChild(child) != nullptr && ztListerOf(child) == lister &&
         !(child->marks & ztNodeLeaving) && ztRoot_of(child)->getRefCount(child) <= 2;
}

namespace {

enum class Override { sees, ignored };

}  // namespace

// A host's own `destroy` finds its children listed, as long as there is stack for it.
static bool endsFromBelow(const ztRoot *child, const ztRoot *lister, Override overrides) {
  return endsWithChildren(child, lister) &&
         (overrides == Override::ignored || endsLikeTheLibrarys(child) || ztStackLeft() == 0);
}

// Releases the children of a node in the same order as by recursion, from below, but with no more stack for
// more levels. The path down to the present node is the nodes' own: each knows who lists it. Returns false
// when slots took the path apart.
static bool releaseBelow(ztRoot *node, Override overrides) {
  ztRoot *at = node;
  while (ztFirstChild(node) != nullptr) {
    ztListItem *first = ztFirstChild(at);
    if (first == nullptr) {
      at->marks &= ~uint32_t{ztNodeOnPath};
      at = ztListerOf(at);
      continue;
    }
    ztRoot *child = ztChildOf(first);
    if (endsFromBelow(child, at, overrides)) {
      child->marks |= ztNodeOnPath;
      at = child;
      continue;
    }
    const uint32_t broken = ztThisThread.brokenPaths;
    releaseItem(at, first);
    if (ztThisThread.brokenPaths != broken) return false;
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
    if (ztFirstChild(node) != nullptr && !endsLikeTheLibrarys(node)) {
      call = endsWithChildren(node, walk.above()) ? call + 1 : survives;
      node->marks |= ztNodeSurveyed;
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
  const size_t most = ztStackLeft() / stackOfDestroy;
  while (ztRoot *deep = findTooDeep(node, most)) {
    deep->marks |= ztNodeOnPath;
    if (releaseBelow(deep, Override::ignored)) deep->marks &= ~uint32_t{ztNodeOnPath};
  }
}

static void releaseChildren(ztRoot *node) {
  // A node that is reached through the `destroy` of one above it was looked at with that one.
  if (!(node->marks & ztNodeSurveyed) && ztFirstChild(node) != nullptr && !endsLikeTheLibrarys(node)) {
    releaseTooDeep(node);
  }
  // Slots took the path apart: begin again.
  while (!releaseBelow(node, Override::sees)) continue;
}

static void releaseList(ztRoot *node) {
  ztRootPtrList *children = node->children;
  node->children = nullptr;
  if (children != nullptr) ztRootPtrList_of(children)->unRef(children);
}

ztRoot *ztCopyNodeAlone(const void *node, void *target) {
  auto *copy = static_cast<ztRoot *>(ztObject_table()->clone(node, target));
  if (copy == nullptr) return nullptr;
  copy->parent = nullptr;
  copy->parentUid = -1;
  copy->children = ztNewObject<ztRootPtrList>(ztRootPtrList_ctor);
  if (copy->children != nullptr) return copy;
  ztObject_table()->destroy(copy);
  return nullptr;
}

static void *rootClone(const void *object, void *target) {
  ztRoot *copy = ztCopyNodeAlone(object, target);
  if (copy == nullptr || ztCopyChildren(nodeOf(object), copy)) return copy;
  releaseChildren(copy);
  releaseList(copy);
  ztObject_table()->destroy(copy);
  return nullptr;
}

static int32_t rootAssign(void *object, const void *other) {
  if (object == nullptr || other == nullptr || !ztObject_table()->assign(object, other)) return 0;
  return ztAssignChildren(nodeOf(object), nodeOf(other));
}

static void rootDestroy(void *object) {
  if (object == nullptr) return;
  ztRoot *node = nodeOf(object);
  node->marks |= ztNodeEnding;
  takeOff(node);  // released by its maker while it is attached
  releaseChildren(node);
  releaseList(node);
  ztCopyText(node->name, "");
  ztObject_table()->destroy(object);
}

// The record --------------------------------------------------------------------------------------

constexpr int32_t nameFieldSize = sizeof ztRoot::name;

static int32_t rootWrite(const void *object, void *file) {
  if (object == nullptr || file == nullptr || !ztObject_table()->write(object, file)) return 0;
  const ztRoot *node = nodeOf(object);
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeInt(file, node->uid) > 0 &&
         methods->writeBuf(file, nameFieldSize, node->name) == nameFieldSize &&
         methods->writeInt(file, node->parentUid) > 0;
}

static int32_t rootRead(void *object, void *file) {
  if (object == nullptr || file == nullptr || !ztObject_table()->read(object, file)) return 0;
  ztRoot *node = nodeOf(object);
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->readInt(file, &node->uid) <= 0) return 0;
  const int32_t read = methods->readBuf(file, nameFieldSize, node->name);
  node->name[nameFieldSize - 1] = '\0';
  return read == nameFieldSize && methods->readInt(file, &node->parentUid) > 0;
}

static void rootMethods(ztRootMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, rootCreate);
  ZT_OVERRIDE_METHOD(methods, clone, rootClone);
  ZT_OVERRIDE_METHOD(methods, assign, rootAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, rootDestroy);
  ZT_OVERRIDE_METHOD(methods, read, rootRead);
  ZT_OVERRIDE_METHOD(methods, write, rootWrite);
  ZT_OVERRIDE_METHOD(methods, initProperties, rootInitProperties);
  ZT_OVERRIDE_METHOD(methods, setName, rootSetName);
  ZT_OVERRIDE_METHOD(methods, getName, rootGetName);
  ZT_OVERRIDE_METHOD(methods, generateUid, rootGenerateUid);
  ZT_OVERRIDE_METHOD(methods, setUid, rootSetUid);
  ZT_OVERRIDE_METHOD(methods, getUid, rootGetUid);
  ZT_OVERRIDE_METHOD(methods, setParent, rootSetParent);
  ZT_OVERRIDE_METHOD(methods, getParent, rootGetParent);
  ZT_OVERRIDE_METHOD(methods, update, rootUpdate);
  ZT_OVERRIDE_METHOD(methods, findChildById, rootFindChildById);
  ZT_OVERRIDE_METHOD(methods, addChild, rootAddChild);
  ZT_OVERRIDE_METHOD(methods, deleteChild, rootDeleteChild);
  ZT_OVERRIDE_METHOD(methods, deleteAllChild, ztMethod<rootDeleteAllChild>);
  ZT_OVERRIDE_METHOD(methods, getChildAt, rootGetChildAt);
  ZT_OVERRIDE_METHOD(methods, getChildCount, rootGetChildCount);
}

ZT_DEFINE_CLASS(ztRoot, ztObject, rootMethods)

// ztRootPtrList -----------------------------------------------------------------------------------

static int32_t rootPtrListCreate(void *object) {
  if (!ztList_table()->create(object)) return 0;
  ztKeepPointers(object, ztRootPtrList_compare_func, ztRootPtrList_compare_func_ptr);
  return 1;
}

static void rootPtrListMethods(ztRootPtrListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, rootPtrListCreate);
}

ZT_DEFINE_CLASS(ztRootPtrList, ztList, rootPtrListMethods)

int32_t ztRootPtrList_compare_func(const void *first, const void *second) {
  return ztCompareAt<uintptr_t>(first, second);
}

int32_t ztRootPtrList_compare_func_ptr(const void *first, const void *second) {
  return ztCompareWords<uintptr_t>(first, second);
}
