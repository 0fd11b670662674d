#include "objects/ztsignal.h"

#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"
#include "objects/ztstrmap.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztSignal, 40, 16);

// A signal that is not yet in an object's map has no slot map.
using SignalParts = Parts<&ztBaseClass_table, Part<&ztSignal::name, ztString_ctor>, Part<&ztSignal::slots>>;

static int32_t signalCreate(ztSignal &signal) {
  signal.argumentCount = 0;
  signal.blocked = 0;
  return SignalParts::create(signal);
}

static void *signalClone(const ztSignal &signal, void *target) {
  return SignalParts::clone(signal, target);
}

static void forgetDeliveries(const ztSignal &signal) {
  forEachCall([&](Call &call) {
    if (call.subject == &signal && kindOf(call) == CallKind::delivery) call.subject = nullptr;
  });
}

static void signalDestroy(ztSignal &signal) {
  forgetDeliveries(signal);
  SignalParts::destroy(signal);
}

static void signalMethods(ztSignalMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<signalCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<signalClone>);
  ZT_CALL_PARENT_ONLY(methods, ztBaseClass, assign);
  ZT_OVERRIDE_METHOD(methods, destroy, method<signalDestroy>);
}

ZT_DEFINE_CLASS(ztSignal, ztBaseClass, signalMethods)

static int32_t signalMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  keyByString(object, ztSignalMap_compare_func);
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
  return compareStrings(first, second);
}

int32_t ztSignalMap_compare_func_ptr(const void *first, const void *second) {
  return compareStrings(first, second);
}
