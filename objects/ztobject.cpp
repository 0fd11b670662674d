#include "objects/ztobject.h"

#include "core/ztbasec.hh"
#include "core/ztcheck.hh"
#include "core/ztkept.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/ztparts.hh"
#include "objects/ztconnect.hh"
#include "objects/ztdelivery.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztobjprops.hh"
#include "objects/ztstatics.hh"
#include "objects/ztwatch.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztObject, 40, 32);

static void objectClassInit(ztClass *) {
  ensureRegistered("ztProperty", ztProperty_ctor);
  ensureRegistered("ztPropertyMap", ztPropertyMap_ctor);
}

static void objectClassDestroy(void *) {}

// Written only when necessary, because threads that use different objects share the word.
static void clearReserved(const ztClass *klass) {
  void **reserved = &objectTableOf(klass)->reserved;
  if (__atomic_load_n(reserved, __ATOMIC_RELAXED) == nullptr) return;
  __atomic_store_n(reserved, nullptr, __ATOMIC_RELAXED);
}

// A copy has no connections.
using ObjectParts = Parts<&ztBaseClass_table, PartNotCopied<&ztObject::signals, ztSignalMap_ctor>,
                          Part<&ztObject::dynamicProperties, ztPropertyMap_ctor>>;

static int32_t objectCreate(ztObject &self) {
  self.flags = firstFlags();
  self.sender = nullptr;
  return ObjectParts::create(self);
}

static void *objectClone(const ztObject &object, void *target) {
  ztObject *copy = ObjectParts::clone(object, target);
  if (copy == nullptr) return nullptr;
  copy->flags = firstFlags();
  copy->sender = nullptr;
  return copy;
}

// If an exception of a slot interrupts a destruction, the next one completes it.
ZT_OWN_FRAME static void objectDestroy(ztObject &object) {
  const bool again = isBeingDestroyed(&object);
  if (again && object.signals == nullptr && object.dynamicProperties == nullptr) return;
  // A slot of "destroyed" may destroy the emitter again.
  if (again && isUnderWay(&object, CallKind::destruction)) return;
  ReleaseMark mark;
  beginRelease(&mark, CallKind::destruction, &object);
  object.flags |= objectBeingDestroyed;
  clearReserved(object.klass);
  leavePeers(&object, again);
  ObjectWatch::objectDestroyed(&object);
  forgetReceiver(&object);
  ObjectParts::destroy(object);
  endCall(mark.mark);
}

static void *objectGetSender(const ztObject &object) {
  return object.sender;
}

static void checkRelease(void *object) {
  checkThread(emitterOf(object), "a release");
}

static void forgetSender(void *object) {
  static_cast<ztObject *>(object)->sender = nullptr;
}

static void objectFunctions(ztClassFunctions *functions) {
  keepRegistered(Kept::declarations, releaseStaticProperties, forgetStaticProperties);
  releaseCheck = checkRelease;
  leaveReceiver = forgetSender;
  functions->classInit = objectClassInit;
  functions->classDestroy = objectClassDestroy;
}

static void objectMethods(ztObjectMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<objectCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<objectClone>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<objectDestroy>);
  ZT_OVERRIDE_METHOD(methods, getSender, method<objectGetSender>);
  overrideStaticProperties(methods);
  overrideProperties(methods);
  overrideConnections(methods);
}

ZT_DEFINE_CLASS_FULL(ztObject, ztBaseClass, objectMethods, 1, ztClassFunctions, objectFunctions)
