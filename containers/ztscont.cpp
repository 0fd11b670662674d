#include "containers/ztscont.h"

#include "containers/ztcitem.h"
#include "containers/ztcont.hh"
#include "containers/ztown.hh"
#include "containers/ztscont.hh"
#include "containers/ztuse.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztSequenceContainer, 64, 27);

const void *ztcore::ownOfElement(const void *container, const void *element) {
  return isOwned(policyOf(*static_cast<const ztSequenceContainer *>(container))) ? element : nullptr;
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
  containerDestroyed(object);
  ztContainer_table()->destroy(object);
}

void *ztcore::sequenceNewItem(ztSequenceContainer &container, const void *element) {
  if (container.itemConstructor == nullptr) return nullptr;
  const ElementPolicy policy = policyOf(container);
  const ContainerUse use(&container);
  auto *item = static_cast<ztContainerItem *>(container.itemConstructor(nullptr, 1));
  if (item == nullptr) return nullptr;
  if (!isSourceGone(element) && storeElement(policy, element, &item->data)) {
    if (!use.ended()) return item;
    releaseElement(policy, &item->data);
  }
  ztContainerItem_of(item)->unRef(item);
  return nullptr;
}

static void *sequenceCopyItem(ztSequenceContainer &container, void *destination, const void *source) {
  if (destination == nullptr || source == nullptr) return nullptr;
  const void *element = static_cast<const ztContainerItem *>(source)->data;
  copyElement(policyOf(container), element, &static_cast<ztContainerItem *>(destination)->data);
  return destination;
}

void ztcore::sequenceDeleteItem(ztSequenceContainer &container, void *item) {
  if (item == nullptr) return;
  releaseElement(policyOf(container), &static_cast<ztContainerItem *>(item)->data);
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

bool ztcore::createsOwnSequences() {
  return ztSequenceContainer_table()->create == sequenceCreate && createsOwnContainers();
}

bool ztcore::destroysOwnSequences() {
  return ztSequenceContainer_table()->destroy == sequenceDestroy && destroysOwnContainers();
}

static const ztSequenceContainerMethods *tableOf(const ztClass *klass) {
  return static_cast<const ztSequenceContainerMethods *>(klass->methodTable);
}

bool ztcore::hasOwnElementSetting(const ztClass *klass) {
  return tableOf(klass)->setElementSize == method<sequenceSetElementSize>;
}

bool ztcore::hasOwnItemSetting(const ztClass *klass) {
  return tableOf(klass)->setItemConstructor == method<sequenceSetItemConstructor>;
}

static void sequenceMethods(ztSequenceContainerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, sequenceCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, sequenceDestroy);
  ZT_OVERRIDE_METHOD(methods, newItem, method<sequenceNewItem>);
  ZT_OVERRIDE_METHOD(methods, copyItem, method<sequenceCopyItem>);
  ZT_OVERRIDE_METHOD(methods, deleteItem, method<sequenceDeleteItem>);
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, method<sequenceSetItemConstructor>);
  ZT_OVERRIDE_METHOD(methods, setElementSize, method<sequenceSetElementSize>);
  ZT_OVERRIDE_METHOD(methods, getElementSize, method<sequenceGetElementSize>);
  ZT_OVERRIDE_METHOD(methods, setElementConstructor, method<sequenceSetElementConstructor>);
}

ZT_DEFINE_CLASS(ztSequenceContainer, ztContainer, sequenceMethods)
