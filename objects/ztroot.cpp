#include "objects/ztroot.h"

#include "containers/ztcompare.hh"
#include "containers/ztlistitem.h"
#include "containers/ztpointers.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/zttext.hh"
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

static ztRoot *childOf(const ztListItem *item) {
  return static_cast<ztRoot *>(item->data);
}

static ztListItem *firstChild(const ztRoot *node) {
  return node->children == nullptr ? nullptr : node->children->head;
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

// Who lists the nodes that are marked ztNodeListed.
static WordTable listers;

// Counts what comes onto lists and off them, so that a walk notices what slots did meanwhile.
static uint32_t listChanges;

static uint64_t keyOf(const ztRoot *node) {
  return reinterpret_cast<uintptr_t>(node);
}

ztRoot *ztListerOf(const ztRoot *node) {
  if (node->parent != nullptr) return node->parent;
  return node->marks & ztNodeListed ? static_cast<ztRoot *>(listers.find(keyOf(node))) : nullptr;
}

static bool rememberLister(ztRoot *node, ztRoot *lister) {
  if (!listers.insert(keyOf(node), lister)) return false;
  node->marks |= ztNodeListed;
  return true;
}

static void forgetLister(ztRoot *node) {
  if (node->marks & ztNodeListed) listers.remove(keyOf(node));
  node->marks &= ~(ztNodeListed | ztNodeLeaving);
}

static void removeItem(const ztRoot *node, ztListItem *item) {
  ++listChanges;
  ztRootPtrList_of(node->children)->removeItem(node->children, item);
}

static void removeListed(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = firstChild(node);
  while (item != nullptr && item->data != child) item = item->next;
  if (item != nullptr) removeItem(node, item);
}

// Takes a node off the list that it is on, unannounced.
static void takeOff(ztRoot *node) {
  const ztRoot *lister = ztListerOf(node);
  forgetLister(node);
  node->parent = nullptr;
  if (lister != nullptr) removeListed(lister, node);
}

static bool isWithin(const ztRoot *node, const ztRoot *top) {
  while (node != nullptr && node != top) node = ztListerOf(node);
  return node != nullptr;
}

// The parent --------------------------------------------------------------------------------------

static void *rootGetParent(const void *object) {
  return object == nullptr ? nullptr : nodeOf(object)->parent;
}

static bool attach(ztRoot *node, ztRoot *parent) {
  if (parent->children == nullptr || ((node->marks | parent->marks) & ztNodeEnding)) return false;
  // A copied child of the parent's keeps its place.
  const bool isListed = ztListerOf(node) == parent && !(node->marks & ztNodeLeaving);
  if (isListed) {
    forgetLister(node);
  } else {
    if (ztRootPtrList_of(parent->children)->pushBack(parent->children, node) == nullptr) return false;
    ++listChanges;
    // When the parent lists the node twice now, it is the earlier place that goes.
    takeOff(node);
  }
  node->parent = parent;
  node->parentUid = ztRoot_of(parent)->getUid(parent);
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

static int32_t rootSetParent(void *object, void *newParent) {
  if (object == nullptr) return 0;
  ztRoot *node = nodeOf(object);
  ztRoot *parent = nodeOf(newParent);
  void *current = ztRoot_of(node)->getParent(node);
  if (current == newParent) return 1;
  // Without children, only the node itself is below it.
  const bool isLeaf = firstChild(node) == nullptr;
  if (isLeaf ? parent == node : isWithin(parent, node)) return 0;
  if (current != nullptr) {
    ObjectWatch watch(parent);
    if (!leaveParent(node, current)) return 0;
    if (parent != nullptr && (!watch.isAlive() || isWithin(parent, node))) return 0;
  }
  return parent == nullptr || attach(node, parent);
}

static void rootUpdate(void *) {}

// Direct children at any level of the walk, and what lies below the last child of each.
static void *searchBelow(const ztRoot *node, int32_t uid) {
  if (node == nullptr) return nullptr;
  void *found = nullptr;
  for (const ztListItem *item = firstChild(node); item != nullptr; item = item->next) {
    ztRoot *child = childOf(item);
    if (child != nullptr && ztRoot_of(child)->getUid(child) == uid) return child;
    found = searchBelow(child, uid);
  }
  return found;
}

// Searches from the node above the top of the tree, where there is none: no child is ever refused for
// an identifier that the tree has already.
static void *rootFindChildById(const void *object, int32_t uid) {
  if (object == nullptr) return nullptr;
  const void *top = ztRoot_of(object)->getParent(object);
  while (top != nullptr) top = ztRoot_of(top)->getParent(top);
  return searchBelow(nodeOf(top), uid);
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
  static_cast<ztRootMethods *>(node->klass->methodTable)->reserved1 = nullptr;
  emitChild(node, "childAdded", child);
}

static ztListItem *findByUid(const ztRoot *node, int32_t uid) {
  for (ztListItem *item = firstChild(node); item != nullptr; item = item->next) {
    const ztRoot *child = childOf(item);
    if (child != nullptr && ztRoot_of(child)->getUid(child) == uid) return item;
  }
  return nullptr;
}

static void rootDeleteChild(void *object, void *given) {
  if (object == nullptr || given == nullptr) return;
  ztRoot *node = nodeOf(object);
  ztListItem *item = findByUid(node, ztRoot_of(given)->getUid(given));
  if (item == nullptr) return;
  ztRoot *child = childOf(item);
  if (child->marks & ztNodeLeaving) {
    takeOff(child);  // a slot of "childDeleted" deletes the same child
    return;
  }
  child->parent = nullptr;
  child->parentUid = 0;
  static_cast<ztRootMethods *>(node->klass->methodTable)->reserved2 = nullptr;
  if (rememberLister(child, node)) {
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

static int32_t rootDeleteAllChild(void *object) {
  if (object == nullptr) return 0;
  const ztRootMethods *methods = ztRoot_of(object);
  ObjectWatch watch(object);
  while (watch.isAlive() && methods->getChildCount(object) > 0) {
    void *child = methods->getChildAt(object, 0);
    if (child != nullptr) {
      methods->deleteChild(object, child);
    } else {
      removeListed(nodeOf(object), nullptr);
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
  static uint32_t created;  // one count for the nodes of all classes
  static char name[sizeof(ztClassEntry::name) + 16];
  snprintf(name, sizeof name, "%s_%d", node->klass->name, static_cast<int32_t>(created++));
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
  ztRoot *child = childOf(item);
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

// Whether a child has children that end with it when its list releases it.
static bool endsWithChildren(const ztRoot *child, const ztRoot *lister) {
  return child != nullptr && firstChild(child) != nullptr && ztListerOf(child) == lister &&
         !(child->marks & ztNodeLeaving) && ztRoot_of(child)->getRefCount(child) <= 2;
}

// In the same order as by recursion, from below, but with no more stack for more levels.
static void releaseFromBelow(ztRoot *node) {
  ztRoot *at = node;
  while (firstChild(node) != nullptr) {
    ztListItem *first = firstChild(at);
    if (first == nullptr) {
      at = ztListerOf(at);
      continue;
    }
    ztRoot *child = childOf(first);
    if (endsWithChildren(child, at)) {
      at = child;
      continue;
    }
    const uint32_t changes = listChanges + 1;
    releaseItem(at, first);
    // Slots changed the tree; begin again.
    if (listChanges != changes) at = node;
  }
}

static void releaseChildren(ztRoot *node) {
  // Each release looks through those that are under way, so few of them keep it fast, too.
  constexpr int32_t deepest = 64;
  static int32_t depth;
  if (depth == deepest) {
    releaseFromBelow(node);
    return;
  }
  ++depth;
  while (ztListItem *first = firstChild(node)) releaseItem(node, first);
  --depth;
}

static void releaseList(ztRoot *node) {
  ztRootPtrList *children = node->children;
  node->children = nullptr;
  if (children != nullptr) ztRootPtrList_of(children)->unRef(children);
}

// Each child of a copy belongs to it alone, with one reference; its parent field does not say so.
static bool cloneChildren(const ztRoot *node, ztRoot *copy) {
  for (const ztListItem *item = firstChild(node); item != nullptr; item = item->next) {
    const ztRoot *child = childOf(item);
    auto *childCopy = static_cast<ztRoot *>(ztCopyObject(child));
    if (child != nullptr && childCopy == nullptr) return false;
    if (ztRootPtrList_of(copy->children)->pushBack(copy->children, childCopy) == nullptr) {
      if (childCopy != nullptr) ztRoot_of(childCopy)->unRef(childCopy);
      return false;
    }
    if (childCopy != nullptr && !rememberLister(childCopy, copy)) return false;
  }
  return true;
}

static void *rootClone(const void *object, void *target) {
  static int32_t levels;
  if (levels == ZT_ROOT_MAX_LEVELS) return nullptr;
  auto *copy = static_cast<ztRoot *>(ztObject_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->parent = nullptr;
  copy->parentUid = -1;
  copy->children = ztNewObject<ztRootPtrList>(ztRootPtrList_ctor);
  ++levels;
  const bool complete = copy->children != nullptr && cloneChildren(nodeOf(object), copy);
  --levels;
  if (complete) return copy;
  releaseChildren(copy);
  releaseList(copy);
  ztObject_table()->destroy(copy);
  return nullptr;
}

static void assignChildren(ztRoot *node, const ztRoot *source) {
  const ztListItem *own = firstChild(node);
  const ztListItem *other = firstChild(source);
  for (; own != nullptr && other != nullptr; own = own->next, other = other->next) {
    ztRoot *child = childOf(own);
    if (child != nullptr && other->data != nullptr) ztAssignCommon(child, other->data);
  }
}

static int32_t rootAssign(void *object, const void *other) {
  static int32_t levels;
  if (object == nullptr || other == nullptr || levels == ZT_ROOT_MAX_LEVELS) return 0;
  if (!ztObject_table()->assign(object, other)) return 0;
  ++levels;
  assignChildren(nodeOf(object), nodeOf(other));
  --levels;
  return 1;
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
  if (!methods->readInt(file, &node->uid)) return 0;
  const int32_t read = methods->readBuf(file, nameFieldSize, node->name);
  node->name[nameFieldSize - 1] = '\0';
  return read == nameFieldSize && methods->readInt(file, &node->parentUid);
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
  ZT_OVERRIDE_METHOD(methods, deleteAllChild, rootDeleteAllChild);
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
