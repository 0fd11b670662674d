#include "objects/ztsignal.h"

#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"
#include "objects/ztstrmap.hh"

ZT_PIN_CLASS(ztSignal, 40, 16);

static void releaseParts(ztSignal &signal) {
  ztReleasePart(signal.name);
  ztReleasePart(signal.slots);
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

static void *signalClone(const ztSignal &signal, void *target) {
  auto *copy = static_cast<ztSignal *>(ztBaseClass_table()->clone(&signal, target));
  if (copy == nullptr) return nullptr;
  copy->name = static_cast<ztString *>(ztCopyObject(signal.name));
  // A signal that is on its way into an object's map has no slot map yet.
  copy->slots = static_cast<ztSlotMap *>(ztCopyObject(signal.slots));
  if ((copy->name != nullptr || signal.name == nullptr) &&
      (copy->slots != nullptr || signal.slots == nullptr)) {
    return copy;
  }
  releaseParts(*copy);
  ztBaseClass_table()->destroy(copy);
  return nullptr;
}

static void forgetDeliveries(const ztSignal &signal) {
  ztForEachCall([&](ztCall &call) {
    if (call.subject == &signal && ztKindOf(call) == ztCallKind::delivery) call.subject = nullptr;
  });
}

static void signalDestroy(ztSignal &signal) {
  forgetDeliveries(signal);
  releaseParts(signal);
  ztBaseClass_table()->destroy(&signal);
}

static void signalMethods(ztSignalMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ztMethod<signalCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, ztMethod<signalClone>);
  // A signal keeps its name and its slots.
  ZT_CALL_PARENT_ONLY(methods, ztBaseClass, assign);
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
