#include "objects/ztlink.h"

#include "core/ztlayout.hh"
#include "core/ztlogctrl.h"
#include "core/ztmethod.hh"
#include "core/ztpointermap.hh"
#include "io/ztfile.h"
#include "objects/ztguard.hh"
#include "objects/zttree.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztLink, 32, 16);
ZT_PIN_CLASS(ztLinkArray, 80, 42);

constexpr int32_t unset = -1;

static int32_t linkCreate(ztLink &link) {
  if (!ztBaseClass_table()->create(&link)) return 0;
  link.target = nullptr;
  link.targetId = unset;
  return 1;
}

static void *linkClone(const void *object, void *target) {
  auto *copy = static_cast<ztLink *>(ztBaseClass_table()->clone(object, target));
  if (copy != nullptr) copy->target = nullptr;
  return copy;
}

static int32_t linkWrite(const ztLink &link, void *file) {
  if (file == nullptr || !ztBaseClass_table()->write(&link, file)) return 0;
  return ztFile_of(file)->writeInt(file, link.targetId) > 0;
}

static int32_t linkRead(ztLink &link, void *file) {
  if (file == nullptr || !ztBaseClass_table()->read(&link, file)) return 0;
  return ztFile_of(file)->readInt(file, &link.targetId) > 0;
}

static void linkMethods(ztLinkMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<linkCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, linkClone);
  ZT_OVERRIDE_METHOD(methods, read, method<linkRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<linkWrite>);
}

ZT_DEFINE_CLASS(ztLink, ztBaseClass, linkMethods)

int32_t ztLinkArray_compare_func(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return (first != nullptr) - (second != nullptr);
  const ztLinkMethods *methods = ztLink_of(first);
  if (methods->isEqual(first, second)) return 0;
  return methods->isMajor(first, second) ? 1 : -1;
}

int32_t ztLinkArray_compare_func_ptr(const void *first, const void *second) {
  return ztLinkArray_compare_func(first, second);
}

static int32_t linkArrayCreate(void *object) {
  if (!ztArray_table()->create(object)) return 0;
  const ztLinkArrayMethods *methods = ztLinkArray_of(object);
  methods->setElementConstructor(object, ztLink_ctor);
  methods->setElementSize(object, sizeof(ztLink), 0);
  methods->setCompareFunction(object, ztLinkArray_compare_func);
  return 1;
}

static void linkArrayMethods(ztLinkArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, linkArrayCreate);
}

ZT_DEFINE_CLASS(ztLinkArray, ztArray, linkArrayMethods)

// Setting -----------------------------------------------------------------------------------------

static int32_t linkTo(ztLink *link, void *node, int32_t uid) {
  link->target = node;
  link->targetId = uid;
  return 1;
}

int32_t ztLink_set(void *object, void *node) {
  if (!isGiven(__func__, object, "link") || !isOf(__func__, object, ztLinkClass_Instance(), "link")) return 0;
  auto *link = static_cast<ztLink *>(object);
  if (node == nullptr) return linkTo(link, nullptr, unset);
  if (!isOf(__func__, node, ztRootClass_Instance(), "node")) return 0;
  const int32_t uid = ztRoot_of(node)->getUid(node);
  if (uid != unset) return linkTo(link, node, uid);
  ztLc_log("ztLink_set - Error, the node has the identifier -1, which stands for no node\n");
  return 0;
}

// Resolving ---------------------------------------------------------------------------------------

int32_t ztLink_resolve(void *object, void *root) {
  if (object == nullptr) return 0;
  auto *link = static_cast<ztLink *>(object);
  link->target = nullptr;
  if (link->targetId == unset) return 0;
  TreeWalk walk(static_cast<ztRoot *>(root));
  for (; walk.current() != nullptr; walk.next()) {
    ztRoot *node = walk.current();
    if (ztRoot_of(node)->getUid(node) != link->targetId) continue;
    link->target = node;
    return 1;
  }
  return 0;
}

static bool indexTree(PointerMap &byUid, ztRoot *root) {
  TreeWalk walk(root);
  for (; walk.current() != nullptr; walk.next()) {
    ztRoot *node = walk.current();
    if (!byUid.insert(uidKey(ztRoot_of(node)->getUid(node)), node)) return false;
  }
  return !walk.failed();
}

static int32_t resolveAll(void *links, const PointerMap &byUid) {
  const ztLinkArrayMethods *methods = ztLinkArray_of(links);
  const int32_t count = methods->getSize(links);
  int32_t resolved = 0;
  for (int32_t i = 0; i < count; ++i) {
    auto *link = static_cast<ztLink *>(methods->getAt(links, i));
    link->target = link->targetId == unset ? nullptr : byUid.find(uidKey(link->targetId));
    resolved += link->target != nullptr;
  }
  return resolved;
}

int32_t ztLinkArray_resolve(void *links, void *root) {
  if (links == nullptr) return 0;
  PointerMap byUid;
  const int32_t resolved = indexTree(byUid, static_cast<ztRoot *>(root)) ? resolveAll(links, byUid) : 0;
  byUid.clear();
  return resolved;
}
