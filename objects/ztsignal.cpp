#include "objects/ztsignal.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "objects/ztobject.hh"
#include "objects/ztstrmap.hh"

ZT_PIN_CLASS(ztSignal, 40, 16);
ZT_PIN_FIELD(ztSignal, name, 16);
ZT_PIN_FIELD(ztSignal, slots, 24);
ZT_PIN_FIELD(ztSignal, argumentCount, 32);
ZT_PIN_FIELD(ztSignal, blocked, 36);

static void releaseParts(ztSignal *signal) {
  ztString *name = signal->name;
  ztSlotMap *slots = signal->slots;
  signal->name = nullptr;
  signal->slots = nullptr;
  if (name != nullptr) ztString_of(name)->unRef(name);
  if (slots != nullptr) ztSlotMap_of(slots)->unRef(slots);
}

static int32_t signalCreate(ztSignal &signal) {
  signal.name = nullptr;
  signal.slots = nullptr;
  signal.argumentCount = 0;
  signal.blocked = 0;
  if (!ztBaseClass_table()->create(&signal)) return 0;
  signal.name = ztNewObject<ztString>(ztString_ctor);
  return signal.name != nullptr;
}

static void *signalClone(const void *object, void *target) {
  const auto *signal = static_cast<const ztSignal *>(object);
  auto *copy = static_cast<ztSignal *>(ztBaseClass_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->name = static_cast<ztString *>(ztCopyObject(signal->name));
  // A signal that is on its way into an object's map has no slot map yet.
  copy->slots = static_cast<ztSlotMap *>(ztCopyObject(signal->slots));
  if ((copy->name != nullptr || signal->name == nullptr) &&
      (copy->slots != nullptr || signal->slots == nullptr)) {
    return copy;
  }
  releaseParts(copy);
  ztBaseClass_table()->destroy(copy);
  return nullptr;
}

static int32_t signalAssign(void *object, const void *other) {
  return ztBaseClass_table()->assign(object, other);
}

static void signalDestroy(ztSignal &self) {
  ztSignalDestroyed(&self);
  releaseParts(&self);
  ztBaseClass_table()->destroy(&self);
}

static void signalMethods(ztSignalMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ztMethod<signalCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, signalClone);
  ZT_OVERRIDE_METHOD(methods, assign, signalAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, ztMethod<signalDestroy>);
}

ZT_DEFINE_CLASS(ztSignal, ztBaseClass, signalMethods)

static int32_t signalMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  ztKeyByString(object, ztSignalMap_compare_func);
  const ztSignalMapMethods *methods = ztSignalMap_of(object);
  methods->setValueConstructor(object, ztSignal_ctor);
  methods->setValueSize(object, sizeof(ztSignal), 0);
  methods->setValueCompareFunction(object, ztSignalMap_compare_func);
  return 1;
}

static void signalMapMethods(ztSignalMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, signalMapCreate);
}

ZT_DEFINE_CLASS(ztSignalMap, ztMap, signalMapMethods)

int32_t ztSignalMap_compare_func(const void *first, const void *second) {
  return ztCompareStrings(first, second);
}

int32_t ztSignalMap_compare_func_ptr(const void *first, const void *second) {
  return ztCompareStrings(first, second);
}
