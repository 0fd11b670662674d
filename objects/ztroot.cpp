#include "objects/ztroot.h"

#include "containers/ztcompare.hh"
#include "containers/ztlistitem.h"
#include "containers/ztpointers.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztoop.hh"
#include "core/zttext.hh"
#include "io/ztfile.h"
#include "objects/ztobject.hh"
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
  ztCopyText(nodeOf(object)->name, name);
  return nodeOf(object)->name;
}

static const char *rootGetName(const void *object) {
  return nodeOf(object)->name;
}

static int32_t rootGenerateUid(void *object) {
  nodeOf(object)->uid = ztCu_genUniqueId();
  return nodeOf(object)->uid;
}

static void rootSetUid(void *object, int32_t uid) {
  nodeOf(object)->uid = uid;
}

static int32_t rootGetUid(const void *object) {
  return nodeOf(object)->uid;
}

// The tree ----------------------------------------------------------------------------------------

static void *rootGetParent(const void *object) {
  return nodeOf(object)->parent;
}

static bool isAtOrAbove(const void *node, void *lower) {
  for (; lower != nullptr; lower = ztRoot_of(lower)->getParent(lower)) {
    if (lower == node) return true;
  }
  return false;
}

// Takes a node off the list of its parent, announced or not.
static void removeListed(const ztRoot *node, const ztRoot *child) {
  for (ztListItem *item = firstChild(node); item != nullptr; item = item->next) {
    if (item->data != child) continue;
    ztRootPtrList_of(node->children)->removeItem(node->children, item);
    return;
  }
}

static int32_t attach(ztRoot *node, ztRoot *parent) {
  if (parent->children == nullptr) return 0;
  if (ztRootPtrList_of(parent->children)->pushBack(parent->children, node) == nullptr) return 0;
  node->parent = parent;
  node->parentUid = ztRoot_of(parent)->getUid(parent);
  ztRoot_of(node)->ref(node);
  return 1;
}

static int32_t rootSetParent(void *object, void *newParent) {
  ztRoot *node = nodeOf(object);
  const ztRootMethods *methods = ztRoot_of(node);
  void *current = methods->getParent(node);
  if (current == newParent) return 1;
  if (isAtOrAbove(node, newParent)) return 0;
  if (current != nullptr) {
    methods->ref(node);
    ObjectWatch nodeWatch(node);
    ObjectWatch parentWatch(newParent);
    ztRoot_of(current)->deleteChild(current, node);
    // A slot of "childDeleted" may have released either.
    if (!nodeWatch.isAlive()) return 0;
    // With equal identifiers it was another child that went; this one must not stay on two lists.
    if (node->parent != nullptr) removeListed(node->parent, node);
    node->parent = nullptr;
    node->parentUid = 0;
    if (!parentWatch.isAlive()) return newParent == nullptr;
  }
  return newParent == nullptr ? 1 : attach(node, nodeOf(newParent));
}

static void rootUpdate(void *) {}

// Direct children at any level of the walk, and what lies below the last child of each.
static void *searchBelow(const ztRoot *node, int32_t uid) {
  if (node == nullptr) return nullptr;
  void *found = nullptr;
  for (const ztListItem *item = firstChild(node); item != nullptr; item = item->next) {
    ztRoot *child = childOf(item);
    if (child == nullptr) continue;
    if (ztRoot_of(child)->getUid(child) == uid) return child;
    found = searchBelow(child, uid);
  }
  return found;
}

// Searches from the node above the top of the tree, where there is none: no child is ever refused for
// an identifier that the tree has already.
static void *rootFindChildById(const void *object, int32_t uid) {
  const void *top = ztRoot_of(object)->getParent(object);
  while (top != nullptr) top = ztRoot_of(top)->getParent(top);
  return searchBelow(nodeOf(top), uid);
}

static void emitChild(ztRoot *node, const char *signalName, ztRoot *child) {
  ztEmit(node, signalName, EmittedValue(reinterpret_cast<intptr_t>(child)));
}

static void rootAddChild(void *object, void *given) {
  if (given == nullptr) return;
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
  if (given == nullptr) return;
  ztRoot *node = nodeOf(object);
  const ztListItem *item = findByUid(node, ztRoot_of(given)->getUid(given));
  if (item == nullptr) return;
  ztRoot *child = childOf(item);
  child->parent = nullptr;
  child->parentUid = 0;
  static_cast<ztRootMethods *>(node->klass->methodTable)->reserved2 = nullptr;
  ObjectWatch watch(node);
  emitChild(node, "childDeleted", child);
  // A slot may have deleted this child, or all, already.
  if (watch.isAlive()) removeListed(node, child);
}

static int32_t rootGetChildCount(const void *object) {
  const ztRootPtrList *children = nodeOf(object)->children;
  return children == nullptr ? 0 : ztRootPtrList_of(children)->getSize(children);
}

static void *rootGetChildAt(const void *object, int32_t index) {
  const ztRootPtrList *children = nodeOf(object)->children;
  return children == nullptr ? nullptr : ztRootPtrList_of(children)->getAt(children, index);
}

static int32_t rootDeleteAllChild(void *object) {
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

static int32_t declareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                               ztSetter setter, ztCtor typeCtor, const char *typeClassName) {
  const auto *methods = static_cast<const ztRootMethods *>(klass->methodTable);
  if (methods->addProperty(klass, name, typeName, getter, setter, nullptr, nullptr)) return 1;
  ztOOP_ensureRegistered(typeClassName, typeCtor);
  ztProperty_functions()->registerNewType(nullptr, typeClassName);
  return methods->addProperty(klass, name, typeName, getter, setter, nullptr, nullptr);
}

static int32_t rootInitProperties(ztClass *klass) {
  const auto *methods = static_cast<const ztRootMethods *>(klass->methodTable);
  ztGetter getter;
  ztSetter setter;
  getter.getInt = methods->getUid;
  setter.setInt = methods->setUid;
  declareProperty(klass, "uniqueID", "ztInt", getter, setter, ztIntPropertyType_ctor, "ztIntPropertyType");
  getter.getText = methods->getName;
  setter.setText = methods->setName;
  return declareProperty(klass, "name", "ztCharPtr", getter, setter, ztCharPtrPropertyType_ctor,
                         "ztCharPtrPropertyType");
}

// Life of a node ----------------------------------------------------------------------------------

static void nameNode(ztRoot *node) {
  static uint32_t created;  // one count for the nodes of all classes
  static char name[sizeof node->name + 16];
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
  node->children = static_cast<ztRootPtrList *>(ztRootPtrList_ctor(nullptr, 1));
  return node->children != nullptr;
}

static void releaseChildren(ztRoot *node) {
  while (firstChild(node) != nullptr) {
    ztListItem *item = firstChild(node);
    ztRoot *child = childOf(item);
    // Off the list before its release, which may reach this node again.
    ztRootPtrList_of(node->children)->removeItem(node->children, item);
    if (child == nullptr) continue;
    if (child->parent == node) child->parent = nullptr;
    ztRoot_of(child)->unRef(child);
  }
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
  }
  return true;
}

static void *rootClone(const void *object, void *target) {
  auto *node = static_cast<ztRoot *>(const_cast<void *>(object));
  // Copies of nodes do not know their parents, so they can be put below themselves after all.
  if (node->marks & ztObjectCloning) return nullptr;
  auto *copy = static_cast<ztRoot *>(ztObject_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->parent = nullptr;
  copy->parentUid = -1;
  copy->children = static_cast<ztRootPtrList *>(ztRootPtrList_ctor(nullptr, 1));
  node->marks |= ztObjectCloning;
  const bool complete = copy->children != nullptr && cloneChildren(node, copy);
  node->marks &= ~ztObjectCloning;
  if (complete) return copy;
  releaseChildren(copy);
  releaseList(copy);
  ztObject_table()->destroy(copy);
  return nullptr;
}

static int32_t rootAssign(void *object, const void *other) {
  if (!ztObject_table()->assign(object, other)) return 0;
  const ztListItem *own = firstChild(nodeOf(object));
  const ztListItem *source = firstChild(nodeOf(other));
  for (; own != nullptr && source != nullptr; own = own->next, source = source->next) {
    ztRoot *child = childOf(own);
    if (child != nullptr && source->data != nullptr) ztRoot_of(child)->assign(child, source->data);
  }
  return 1;
}

static void rootDestroy(void *object) {
  ztRoot *node = nodeOf(object);
  // Released by its maker while a parent still lists it.
  ztRoot *parent = node->parent;
  node->parent = nullptr;
  if (parent != nullptr) removeListed(parent, node);
  releaseChildren(node);
  releaseList(node);
  ztCopyText(node->name, "");
  ztObject_table()->destroy(object);
}

// The record --------------------------------------------------------------------------------------

constexpr int32_t nameFieldSize = sizeof ztRoot::name;

static int32_t rootWrite(const void *object, void *file) {
  if (file == nullptr || !ztObject_table()->write(object, file)) return 0;
  const ztRoot *node = nodeOf(object);
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeInt(file, node->uid) && methods->writeBuf(file, nameFieldSize, node->name) &&
         methods->writeInt(file, node->parentUid);
}

static int32_t rootRead(void *object, void *file) {
  if (file == nullptr || !ztObject_table()->read(object, file)) return 0;
  ztRoot *node = nodeOf(object);
  const ztFileMethods *methods = ztFile_of(file);
  if (!methods->readInt(file, &node->uid)) return 0;
  const int32_t read = methods->readBuf(file, nameFieldSize, node->name);
  node->name[nameFieldSize - 1] = '\0';
  return read != 0 && methods->readInt(file, &node->parentUid);
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
