#include "objects/ztroot.h"

#include "containers/ztcompare.hh"
#include "containers/ztpointers.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztrelease.hh"
#include "core/zttext.hh"
#include "io/ztfile.h"
#include "objects/ztchildren.hh"
#include "objects/ztdelivery.hh"
#include "objects/ztnode.hh"
#include "objects/ztstatics.hh"
#include "objects/zttree.hh"
#include "objects/zttreecopy.hh"
#include "objects/zttreeend.hh"
#include "objects/ztwatch.hh"
#include "support/ztcutils.h"

#include <stdio.h>

using namespace ztcore;

ZT_PIN_CLASS(ztRoot, 152, 48);
ZT_PIN_CLASS(ztRootPtrList, 88, 40);

// Name and identifier -----------------------------------------------------------------------------

static char *rootSetName(ztRoot &node, const char *name) {
  copyText(node.name, name);
  return node.name;
}

static const char *rootGetName(const ztRoot &node) {
  return node.name;
}

static int32_t rootGenerateUid(ztRoot &node) {
  const int32_t old = node.uid;
  node.uid = ztCu_genUniqueId();
  noteUid(&node, old);
  return node.uid;
}

static void rootSetUid(ztRoot &node, int32_t uid) {
  const int32_t old = node.uid;
  node.uid = uid;
  noteUid(&node, old);
}

static int32_t rootGetUid(const ztRoot &node) {
  return node.uid;
}

bool ztcore::hasOwnUid(const ztClass *klass) {
  const auto *methods = static_cast<const ztRootMethods *>(klass->methodTable);
  return methods->getUid == method<rootGetUid> && methods->setUid == method<rootSetUid> &&
         methods->generateUid == method<rootGenerateUid>;
}

// The parent --------------------------------------------------------------------------------------

static void *rootGetParent(const ztRoot &node) {
  return node.parent;
}

static bool attach(ztRoot *node, ztRoot *parent) {
  if (parent->children == nullptr || ((node->flags | parent->flags) & nodeBeingDestroyed)) return false;
  // Called before any change, because a host's `getUid` may not return.
  const int32_t parentUid = ztRoot_of(parent)->getUid(parent);
  // A copied child of the parent keeps its position.
  const bool isHeld = holderOf(node) == parent && !(node->flags & nodeBeingDeleted);
  if (isHeld) {
    forgetHolder(node);
  } else {
    if (ztRootPtrList_of(parent->children)->pushBack(parent->children, node) == nullptr) return false;
    // If the parent now lists the node twice, this removes the earlier item.
    takeOff(node);
  }
  node->parent = parent;
  node->parentUid = parentUid;
  ztRoot_of(node)->ref(node);
  return true;
}

// False when a slot of "childDeleted" destroyed the node.
static bool leaveParent(ztRoot *node, void *parent) {
  ztRoot_of(node)->ref(node);
  ObjectWatch watch(node);
  ztRoot_of(parent)->deleteChild(parent, node);
  if (!watch.isAlive()) return false;
  // With equal identifiers another child was deleted, and a slot may have attached this node.
  takeOff(node);
  node->parentUid = 0;
  return true;
}

static bool isBelow(const ztRoot *parent, const ztRoot *node) {
  return firstChild(node) == nullptr ? parent == node : isWithinTree(parent, node);
}

static int32_t rootSetParent(ztRoot &node, void *newParent) {
  auto *parent = static_cast<ztRoot *>(newParent);
  void *current = ztRoot_of(&node)->getParent(&node);
  if (current == newParent) return 1;
  if (isBelow(parent, &node)) return 0;
  if (current != nullptr) {
    ObjectWatch watch(parent);
    if (!leaveParent(&node, current)) return 0;
    if (parent != nullptr && (!watch.isAlive() || isBelow(parent, &node))) return 0;
  }
  return parent == nullptr || attach(&node, parent);
}

static void rootUpdate(void *) {}

// The search starts above the root of the tree, so it finds nothing: a child is never refused because its
// identifier is already in the tree. A host can only observe the calls of its `getParent`.
static void *rootFindChildById(const void *object, int32_t) {
  const void *top = object;
  while (top != nullptr && ztRoot_of(top)->getParent != method<rootGetParent>)
    top = ztRoot_of(top)->getParent(top);
  return nullptr;
}

// Atomic, because several threads may emit signals of nodes of one class.
static void clearWord(void *&word) {
  __atomic_store_n(&word, nullptr, __ATOMIC_RELAXED);
}

static void emitChild(ztRoot &node, const char *signalName, ztRoot *child) {
  emit(&node, signalName, EmittedValue(reinterpret_cast<intptr_t>(child)));
}

static void rootAddChild(ztRoot &node, void *child) {
  if (child == nullptr) return;
  const ztRootMethods *methods = ztRoot_of(child);
  if (ztRoot_of(&node)->findChildById(&node, methods->getUid(child)) != nullptr) return;
  ObjectWatch watch(&node);
  if (!methods->setParent(child, &node) || !watch.isAlive()) return;
  clearWord(static_cast<ztRootMethods *>(node.klass->methodTable)->reserved1);
  emitChild(node, "childAdded", static_cast<ztRoot *>(child));
}

static void rootDeleteChild(ztRoot &node, void *given) {
  if (given == nullptr) return;
  ztListItem *item = findChildWithUidOf(&node, static_cast<const ztRoot *>(given));
  if (item == nullptr) return;
  ztRoot *child = childOf(item);
  if (child->flags & nodeBeingDeleted) {
    takeOff(child);  // a slot of "childDeleted" deletes the same child
    return;
  }
  child->parent = nullptr;
  child->parentUid = 0;
  clearWord(static_cast<ztRootMethods *>(node.klass->methodTable)->reserved2);
  if (rememberHolder(child, &node)) {
    child->flags |= nodeBeingDeleted;
  } else {
    removeChildItem(&node, item);  // removed before the signal when memory is exhausted
  }
  ObjectWatch watch(child);
  emitChild(node, "childDeleted", child);
  // A slot may have deleted, attached or destroyed the child, or destroyed the node.
  if (watch.isAlive() && (child->flags & nodeBeingDeleted)) takeOff(child);
}

static int32_t rootGetChildCount(const ztRoot &node) {
  return node.children == nullptr ? 0 : ztRootPtrList_of(node.children)->getSize(node.children);
}

static void *rootGetChildAt(const ztRoot &node, int32_t index) {
  return node.children == nullptr ? nullptr : ztRootPtrList_of(node.children)->getAt(node.children, index);
}

static int32_t rootDeleteAllChild(ztRoot &node) {
  const ztRootMethods *methods = ztRoot_of(&node);
  ObjectWatch watch(&node);
  while (watch.isAlive() && methods->getChildCount(&node) > 0) {
    void *child = methods->getChildAt(&node, 0);
    if (child != nullptr) {
      methods->deleteChild(&node, child);
    } else {
      removeChild(&node, nullptr);
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
  declareProperty(klass, "uniqueID", "ztInt", getter, setter, "ztIntPropertyType", ztIntPropertyType_ctor);
  getter.getText = methods->getName;
  setter.setText = methods->setName;
  return declareProperty(klass, "name", "ztCharPtr", getter, setter, "ztCharPtrPropertyType",
                         ztCharPtrPropertyType_ctor);
}

// Life of a node ----------------------------------------------------------------------------------

static void nameNode(ztRoot *node) {
  static uint32_t created;  // counts the nodes of all classes and threads
  const uint32_t number = __atomic_fetch_add(&created, 1, __ATOMIC_RELAXED);
  char name[sizeof(ztClassEntry::name) + 16];
  snprintf(name, sizeof name, "%s_%d", node->klass->name, static_cast<int32_t>(number));
  ztRoot_of(node)->setName(node, name);
}

static int32_t rootCreate(ztRoot &node) {
  node.children = nullptr;
  node.parent = nullptr;
  node.reservedWord = nullptr;
  node.parentUid = -1;
  copyText(node.name, "");
  if (!ztObject_table()->create(&node)) return 0;
  nameNode(&node);
  ztRoot_of(&node)->generateUid(&node);
  node.children = newObject<ztRootPtrList>(ztRootPtrList_ctor);
  return node.children != nullptr;
}

static void *rootClone(const ztRoot &node, void *target) {
  ztRoot *copy = copyNodeAlone(&node, target);
  if (copy == nullptr || copyChildren(&node, copy)) return copy;
  releaseChildren(copy);
  releasePart(copy->children);
  ztObject_table()->destroy(copy);
  return nullptr;
}

static int32_t rootAssign(ztRoot &node, const void *other) {
  if (other == nullptr || !ztObject_table()->assign(&node, other)) return 0;
  return assignChildren(&node, static_cast<const ztRoot *>(other));
}

static void rootDestroy(ztRoot &node) {
  node.flags |= nodeBeingDestroyed;
  takeOff(&node);  // its maker may release it while it is attached
  releaseChildren(&node);
  releasePart(node.children);
  copyText(node.name, "");
  ztObject_table()->destroy(&node);
}

// The record --------------------------------------------------------------------------------------

constexpr int32_t nameFieldSize = sizeof ztRoot::name;

static int32_t rootWrite(const ztRoot &node, void *file) {
  if (file == nullptr || !ztObject_table()->write(&node, file)) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeInt(file, node.uid) > 0 &&
         methods->writeBuf(file, nameFieldSize, node.name) == nameFieldSize &&
         methods->writeInt(file, node.parentUid) > 0;
}

static int32_t rootRead(ztRoot &node, void *file) {
  if (file == nullptr || !ztObject_table()->read(&node, file)) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t old = node.uid;
  const bool hasUid = methods->readInt(file, &node.uid) > 0;
  noteUid(&node, old);
  if (!hasUid) return 0;
  const int32_t read = methods->readBuf(file, nameFieldSize, node.name);
  node.name[nameFieldSize - 1] = '\0';
  return read == nameFieldSize && methods->readInt(file, &node.parentUid) > 0;
}

static void rootMethods(ztRootMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<rootCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<rootClone>);
  ZT_OVERRIDE_METHOD(methods, assign, method<rootAssign>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<rootDestroy>);
  ZT_OVERRIDE_METHOD(methods, read, method<rootRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<rootWrite>);
  ZT_OVERRIDE_METHOD(methods, initProperties, rootInitProperties);
  ZT_OVERRIDE_METHOD(methods, setName, method<rootSetName>);
  ZT_OVERRIDE_METHOD(methods, getName, method<rootGetName>);
  ZT_OVERRIDE_METHOD(methods, generateUid, method<rootGenerateUid>);
  ZT_OVERRIDE_METHOD(methods, setUid, method<rootSetUid>);
  ZT_OVERRIDE_METHOD(methods, getUid, method<rootGetUid>);
  ZT_OVERRIDE_METHOD(methods, setParent, method<rootSetParent>);
  ZT_OVERRIDE_METHOD(methods, getParent, method<rootGetParent>);
  ZT_OVERRIDE_METHOD(methods, update, rootUpdate);
  ZT_OVERRIDE_METHOD(methods, findChildById, rootFindChildById);
  ZT_OVERRIDE_METHOD(methods, addChild, method<rootAddChild>);
  ZT_OVERRIDE_METHOD(methods, deleteChild, method<rootDeleteChild>);
  ZT_OVERRIDE_METHOD(methods, deleteAllChild, method<rootDeleteAllChild>);
  ZT_OVERRIDE_METHOD(methods, getChildAt, method<rootGetChildAt>);
  ZT_OVERRIDE_METHOD(methods, getChildCount, method<rootGetChildCount>);
}

ZT_DEFINE_CLASS(ztRoot, ztObject, rootMethods)

// ztRootPtrList -----------------------------------------------------------------------------------

static int32_t rootPtrListCreate(void *object) {
  if (!ztList_table()->create(object)) return 0;
  keepPointers(object, ztRootPtrList_compare_func, ztRootPtrList_compare_func_ptr);
  return 1;
}

static void rootPtrListMethods(ztRootPtrListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, rootPtrListCreate);
}

ZT_DEFINE_CLASS(ztRootPtrList, ztList, rootPtrListMethods)

int32_t ztRootPtrList_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztRootPtrList_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}
