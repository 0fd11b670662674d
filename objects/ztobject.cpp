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

ZT_PIN_CLASS(ztObject, 40, 32);

static void objectClassInit(ztClass *) {
  ztOOP_ensureRegistered("ztProperty", ztProperty_ctor);
  ztOOP_ensureRegistered("ztPropertyMap", ztPropertyMap_ctor);
}

static void objectClassDestroy(void *) {}

// Threads that use different objects share the word, and so do not write it without need.
static void clearReserved(const ztClass *klass) {
  void **reserved = &ztObjectTableOf(klass)->reserved;
  if (__atomic_load_n(reserved, __ATOMIC_RELAXED) == nullptr) return;
  __atomic_store_n(reserved, nullptr, __ATOMIC_RELAXED);
}

// A copy begins without connections.
using ObjectParts = ztParts<&ztBaseClass_table, ztPartNotCopied<&ztObject::signals, ztSignalMap_ctor>,
                            ztPart<&ztObject::dynamicProperties, ztPropertyMap_ctor>>;

static int32_t objectCreate(ztObject &self) {
  self.marks = ztFirstMarks();
  self.sender = nullptr;
  return ObjectParts::create(self);
}

static void *objectClone(const ztObject &object, void *target) {
  ztObject *copy = ObjectParts::clone(object, target);
  if (copy == nullptr) return nullptr;
  copy->marks = ztFirstMarks();
  copy->sender = nullptr;
  return copy;
}

// An end that was interrupted, by an exception out of a slot, is finished by the next one.
ZT_OWN_FRAME static void objectDestroy(ztObject &object) {
  const bool again = ztIsDying(&object);
  if (again && object.signals == nullptr && object.dynamicProperties == nullptr) return;
  // A slot of "destroyed" may end the emitter once more.
  if (again && ztIsUnderWay(&object, ztCallKind::ending)) return;
  ztEndMark mark;
  ztBeginEnd(&mark, ztCallKind::ending, &object);
  object.marks |= ztObjectDying;
  clearReserved(object.klass);
  ztLeavePeers(&object, again);
  ObjectWatch::objectDestroyed(&object);
  ztForgetReceiver(&object);
  ObjectParts::destroy(object);
  ztEndCall(mark.mark);
}

static void *objectGetSender(const ztObject &object) {
  return object.sender;
}

static void checkRelease(void *object) {
  ztCheckThread(ztEmitterOf(object), "a release");
}

static void forgetSender(void *object) {
  static_cast<ztObject *>(object)->sender = nullptr;
}

static void objectFunctions(ztClassFunctions *functions) {
  ztKeep(ztKept::declarations, ztReleaseStaticProperties, ztForgetStaticProperties);
  ztCheckRelease = checkRelease;
  ztLeaveReceiver = forgetSender;
  functions->classInit = objectClassInit;
  functions->classDestroy = objectClassDestroy;
}

static void objectMethods(ztObjectMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ztMethod<objectCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, ztMethod<objectClone>);
  ZT_OVERRIDE_METHOD(methods, destroy, ztMethod<objectDestroy>);
  ZT_OVERRIDE_METHOD(methods, getSender, ztMethod<objectGetSender>);
  ztOverrideStaticProperties(methods);
  ztOverrideProperties(methods);
  ztOverrideConnections(methods);
}

ZT_DEFINE_CLASS_FULL(ztObject, ztBaseClass, objectMethods, 1, ztClassFunctions, objectFunctions)
