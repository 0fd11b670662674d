#include "containers/ztscont.h"

#include "containers/ztcitem.h"
#include "containers/ztcont.hh"
#include "containers/ztuse.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

ZT_PIN_CLASS(ztSequenceContainer, 64, 27);

static ElementPolicy policyOf(const ztSequenceContainer &container) {
  return {container.elementConstructor, container.byPointer != 0, container.elementSize};
}

const void *ztOwnOfElement(const void *container, const void *element) {
  return ztIsOwned(policyOf(*static_cast<const ztSequenceContainer *>(container))) ? element : nullptr;
}

static int32_t sequenceCreate(void *object) {
  if (!ztContainer_table()->create(object)) return 0;
  auto *container = static_cast<ztSequenceContainer *>(object);
  container->elementSize = 0;
  container->elementConstructor = nullptr;
  container->byPointer = 0;
  return 1;
}

static void sequenceDestroy(void *object) {
  ztEndUses(object);
  ztContainer_table()->destroy(object);
}

static void *sequenceNewItem(ztSequenceContainer &container, const void *element) {
  if (container.itemConstructor == nullptr) return nullptr;
  const ElementPolicy policy = policyOf(container);
  const ContainerUse use(&container);
  auto *item = static_cast<ztContainerItem *>(container.itemConstructor(nullptr, 1));
  if (item == nullptr) return nullptr;
  if (!ztIsSourceGone(element) && ztStoreElement(policy, element, &item->data)) {
    if (!use.ended()) return item;
    ztReleaseElement(policy, &item->data);
  }
  ztContainerItem_of(item)->unRef(item);
  return nullptr;
}

static void *sequenceCopyItem(ztSequenceContainer &container, void *destination, const void *source) {
  if (destination == nullptr || source == nullptr) return nullptr;
  const void *element = static_cast<const ztContainerItem *>(source)->data;
  ztCopyElement(policyOf(container), element, &static_cast<ztContainerItem *>(destination)->data);
  return destination;
}

static void sequenceDeleteItem(ztSequenceContainer &container, void *item) {
  if (item == nullptr) return;
  ztReleaseElement(policyOf(container), &static_cast<ztContainerItem *>(item)->data);
  ztContainerItem_of(item)->unRef(item);
}

static void sequenceSetItemConstructor(ztSequenceContainer &container, ztCtor constructor) {
  container.itemConstructor = constructor;
}

static void sequenceSetElementSize(ztSequenceContainer &container, int32_t size, uint32_t byPointer) {
  container.elementSize = size;
  container.byPointer = byPointer;
}

static int32_t sequenceGetElementSize(const ztSequenceContainer &container) {
  return container.elementSize;
}

static void sequenceSetElementConstructor(ztSequenceContainer &container, ztCtor constructor) {
  container.elementConstructor = constructor;
}

static void sequenceMethods(ztSequenceContainerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, sequenceCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, sequenceDestroy);
  ZT_OVERRIDE_METHOD(methods, newItem, ztMethod<sequenceNewItem>);
  ZT_OVERRIDE_METHOD(methods, copyItem, ztMethod<sequenceCopyItem>);
  ZT_OVERRIDE_METHOD(methods, deleteItem, ztMethod<sequenceDeleteItem>);
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, ztMethod<sequenceSetItemConstructor>);
  ZT_OVERRIDE_METHOD(methods, setElementSize, ztMethod<sequenceSetElementSize>);
  ZT_OVERRIDE_METHOD(methods, getElementSize, ztMethod<sequenceGetElementSize>);
  ZT_OVERRIDE_METHOD(methods, setElementConstructor, ztMethod<sequenceSetElementConstructor>);
}

ZT_DEFINE_CLASS(ztSequenceContainer, ztContainer, sequenceMethods)
