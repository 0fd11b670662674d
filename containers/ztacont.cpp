#include "containers/ztacont.h"

#include "containers/ztown.hh"
#include "containers/ztuse.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztAssociativeContainer, 88, 29);

static int32_t associativeCreate(void *object) {
  if (!ztContainer_table()->create(object)) return 0;
  auto *container = static_cast<ztAssociativeContainer *>(object);
  container->keySize = 0;
  container->valueSize = 0;
  container->keyConstructor = nullptr;
  container->valueConstructor = nullptr;
  container->valueCompareFunction = nullptr;
  container->keyByPointer = 0;
  container->valueByPointer = 0;
  return 1;
}

static void associativeDestroy(void *object) {
  containerDestroyed(object);
  ztContainer_table()->destroy(object);
}

static void associativeSetItemConstructor(ztAssociativeContainer &container, ztCtor constructor) {
  container.itemConstructor = constructor;
}

static void associativeSetKeySize(ztAssociativeContainer &container, int32_t size, uint32_t byPointer) {
  container.keySize = size;
  container.keyByPointer = byPointer;
}

static void associativeSetKeyConstructor(ztAssociativeContainer &container, ztCtor constructor) {
  container.keyConstructor = constructor;
}

static void associativeSetValueSize(ztAssociativeContainer &container, int32_t size, uint32_t byPointer) {
  container.valueSize = size;
  container.valueByPointer = byPointer;
}

static void associativeSetValueConstructor(ztAssociativeContainer &container, ztCtor constructor) {
  container.valueConstructor = constructor;
}

static void associativeSetValueCompareFunction(ztAssociativeContainer &container, ztCompareFunc compare) {
  container.valueCompareFunction = compare;
}

bool ztcore::hasOwnAssociationSettings(const ztClass *klass) {
  const auto *methods = static_cast<const ztAssociativeContainerMethods *>(klass->methodTable);
  return hasOwnManagerSetting(klass) &&
         methods->setItemConstructor == method<associativeSetItemConstructor> &&
         methods->setKeySize == method<associativeSetKeySize> &&
         methods->setKeyConstructor == method<associativeSetKeyConstructor> &&
         methods->setValueSize == method<associativeSetValueSize> &&
         methods->setValueConstructor == method<associativeSetValueConstructor> &&
         methods->setValueCompareFunction == method<associativeSetValueCompareFunction>;
}

bool ztcore::createsOwnAssociations() {
  return ztAssociativeContainer_table()->create == associativeCreate && createsOwnContainers();
}

bool ztcore::destroysOwnAssociations() {
  return ztAssociativeContainer_table()->destroy == associativeDestroy && destroysOwnContainers();
}

static void associativeMethods(ztAssociativeContainerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, associativeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, associativeDestroy);
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, method<associativeSetItemConstructor>);
  ZT_OVERRIDE_METHOD(methods, setKeySize, method<associativeSetKeySize>);
  ZT_OVERRIDE_METHOD(methods, setKeyConstructor, method<associativeSetKeyConstructor>);
  ZT_OVERRIDE_METHOD(methods, setValueSize, method<associativeSetValueSize>);
  ZT_OVERRIDE_METHOD(methods, setValueConstructor, method<associativeSetValueConstructor>);
  ZT_OVERRIDE_METHOD(methods, setValueCompareFunction, method<associativeSetValueCompareFunction>);
}

ZT_DEFINE_CLASS(ztAssociativeContainer, ztContainer, associativeMethods)
