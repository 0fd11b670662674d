#include "objects/ztslot.h"

#include "containers/ztcompare.hh"
#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztSlot, 40, 16);

using SlotParts = Parts<&ztBaseClass_table, Part<&ztSlot::name, ztString_ctor>>;

static int32_t slotCreate(ztSlot &slot) {
  slot.receiver = nullptr;
  slot.function.call0 = nullptr;
  return SlotParts::create(slot);
}

static void *slotClone(const ztSlot &slot, void *target) {
  return SlotParts::clone(slot, target);
}

static void slotMethods(ztSlotMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<slotCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<slotClone>);
  ZT_CALL_PARENT_ONLY(methods, ztBaseClass, assign);
  ZT_OVERRIDE_METHOD(methods, destroy, method<SlotParts::destroy<ztSlot>>);
}

ZT_DEFINE_CLASS(ztSlot, ztBaseClass, slotMethods)

static int32_t slotMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  const ztSlotMapMethods *methods = ztSlotMap_of(object);
  methods->setKeySize(object, sizeof(void *), 1);
  methods->setCompareFunction(object, ztSlotMap_key_compare_func_ptr);
  methods->setValueConstructor(object, ztSlot_ctor);
  methods->setValueSize(object, sizeof(ztSlot), 0);
  methods->setValueCompareFunction(object, ztSlotMap_value_compare_func);
  return 1;
}

// Hosts may remove slots from a signal's map, also during a delivery.
static void slotMapDeleteItem(void *object, void *item) {
  ztMap_table()->deleteItem(object, item);
  if (thisThread.calls != nullptr) ++thisThread.calls->removals;
}

static void slotMapMethods(ztSlotMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, slotMapCreate);
  ZT_OVERRIDE_METHOD(methods, deleteItem, slotMapDeleteItem);
}

ZT_DEFINE_CLASS(ztSlotMap, ztMap, slotMapMethods)

int32_t ztSlotMap_key_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztSlotMap_key_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

int32_t ztSlotMap_value_compare_func(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return (first != nullptr) - (second != nullptr);
  const auto *one = static_cast<const ztSlot *>(first);
  const auto *other = static_cast<const ztSlot *>(second);
  if (one->receiver != other->receiver) {
    return compareWords<uintptr_t>(one->receiver, other->receiver);
  }
  return compareAt<uintptr_t>(&one->function, &other->function);
}

int32_t ztSlotMap_value_compare_func_ptr(const void *first, const void *second) {
  return ztSlotMap_value_compare_func(first, second);
}
