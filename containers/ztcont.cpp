#include "containers/ztcont.h"

#include "containers/ztcont.hh"
#include "containers/ztown.hh"
#include "containers/ztuse.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztContainer, 48, 24);

// The element policy ------------------------------------------------------------------------------

static void *copyBytes(const void *source, int32_t size) {
  // Elements of no bytes need no source: the values of a map that is used as a set.
  if (size < 0 || (source == nullptr && size != 0)) return nullptr;
  void *copy = ztm_alloc(size);
  if (copy != nullptr && size != 0) memcpy(copy, source, static_cast<size_t>(size));
  return copy;
}

// A copy in an object that the constructor makes, or of the element's own class if that object is too small.
static void *copyConstructed(ztCtor constructor, const void *element) {
  if (element == nullptr) return nullptr;
  void *fresh = constructor(nullptr, 0);
  if (fresh == nullptr) return nullptr;
  if (ztOOP_classOf(element)->instanceSize > ztOOP_classOf(fresh)->instanceSize) {
    ztm_free(fresh);
    return copyObject(element);
  }
  if (cloneOnto(element, fresh) != nullptr) return fresh;
  ztm_free(fresh);
  return nullptr;
}

bool ztcore::storeElement(const ElementPolicy &policy, const void *element, void **stored) {
  if (policy.constructor == nullptr && policy.byPointer) {
    *stored = const_cast<void *>(element);
    return true;
  }
  *stored = policy.constructor != nullptr ? copyConstructed(policy.constructor, element)
                                          : copyBytes(element, policy.size);
  return *stored != nullptr;
}

bool ztcore::copyElement(const ElementPolicy &policy, const void *source, void **stored) {
  if (source == nullptr || (policy.constructor == nullptr && policy.byPointer)) {
    *stored = const_cast<void *>(source);
    return true;
  }
  *stored = policy.constructor != nullptr ? copyObject(source) : copyBytes(source, policy.size);
  return *stored != nullptr;
}

void ztcore::releaseElement(const ElementPolicy &policy, void **stored) {
  void *element = *stored;
  *stored = nullptr;
  if (policy.constructor != nullptr) {
    if (element != nullptr) ztBaseClass_of(element)->unRef(element);
  } else if (!policy.byPointer) {
    ztm_free(element);
  }
}

void *ztcore::makeItem(void *container, const ContainerUse &use, const void *element) {
  void *manager = itemManagerOf(container);
  void *item = ztContainer_of(manager)->newItem(manager, element);
  if (item == nullptr || !use.ended()) return item;
  // If the container was its own manager, it is gone and has made no item.
  if (manager != container) ztContainer_of(manager)->deleteItem(manager, item);
  return nullptr;
}

// ztContainer -------------------------------------------------------------------------------------

// Abandoned calls on an earlier container at this address have no claim on this one.
static void dropOldItems(const void *container) {
  while (takeItems(container) != nullptr) {
  }
}

static int32_t containerCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  dropOldItems(object);
  auto *container = static_cast<ztContainer *>(object);
  ztContainer_of(object)->setItemManager(object, object);
  container->itemConstructor = nullptr;
  container->compareFunction = nullptr;
  container->allowDuplicate = 0;
  return 1;
}

static void *containerClone(const void *object, void *target) {
  void *copy = ztBaseClass_table()->clone(object, target);
  if (copy == nullptr) return nullptr;
  dropOldItems(copy);
  ztContainer_of(copy)->setItemManager(copy, copy);
  return copy;
}

static void containerSetItemManager(ztContainer &container, void *manager) {
  container.itemManager = manager;
}

static void containerSetCompareFunction(ztContainer &container, ztCompareFunc compare) {
  container.compareFunction = compare;
}

static void containerSetAllowDuplicate(ztContainer &container, uint32_t allow) {
  container.allowDuplicate = allow;
}

bool ztcore::createsOwnContainers() {
  return ztContainer_table()->create == containerCreate && ztBaseClass_table()->create == method<baseCreate>;
}

bool ztcore::clonesOwnContainers() {
  return ztContainer_table()->clone == containerClone && ztBaseClass_table()->clone == method<baseClone>;
}

bool ztcore::destroysOwnContainers() {
  return ztContainer_table()->destroy == baseDestroy;
}

static const ztContainerMethods *tableOf(const ztClass *klass) {
  return static_cast<const ztContainerMethods *>(klass->methodTable);
}

bool ztcore::hasOwnManagerSetting(const ztClass *klass) {
  return tableOf(klass)->setItemManager == method<containerSetItemManager>;
}

bool ztcore::hasOwnDuplicateSetting(const ztClass *klass) {
  return tableOf(klass)->setAllowDuplicate == method<containerSetAllowDuplicate>;
}

bool ztcore::hasOwnCompareSetting(const ztClass *klass) {
  return tableOf(klass)->setCompareFunction == method<containerSetCompareFunction>;
}

static void containerMethods(ztContainerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, containerCreate);
  ZT_OVERRIDE_METHOD(methods, clone, containerClone);
  ZT_ABSTRACT_METHOD(methods, newItem);
  ZT_ABSTRACT_METHOD(methods, copyItem);
  ZT_ABSTRACT_METHOD(methods, deleteItem);
  ZT_ABSTRACT_METHOD(methods, setItemConstructor);
  ZT_OVERRIDE_METHOD(methods, setItemManager, method<containerSetItemManager>);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, method<containerSetCompareFunction>);
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, method<containerSetAllowDuplicate>);
  ZT_ABSTRACT_METHOD(methods, getSize);
}

ZT_DEFINE_CLASS(ztContainer, ztBaseClass, containerMethods)
