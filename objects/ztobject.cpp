#include "objects/ztobject.h"

#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztcheck.hh"
#include "core/ztkept.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/ztparts.hh"
#include "objects/ztconnect.hh"
#include "objects/ztdelivery.hh"
#include "objects/ztmaps.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztobjprops.hh"
#include "objects/ztstatics.hh"
#include "objects/ztstrmap.hh"
#include "objects/ztwatch.hh"
#include "objects/ztweak.hh"

#include <utility>

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
using ObjectParts = Parts<&ztBaseClass_table,
                          MapPart<PartNotCopied<&ztObject::signals, ztSignalMap_ctor>, &ztObject::signals,
                                  releasesSignalsPlainly, freeSignals>,
                          MapPart<Part<&ztObject::dynamicProperties, ztPropertyMap_ctor>,
                                  &ztObject::dynamicProperties, releasesPropertiesPlainly, freeProperties>>;

namespace {

// Both maps of an object in one block.
struct MapsOfObject : SharedBlock {
  MapWithTree<ztSignalMap> signals;
  MapWithTree<ztPropertyMap> properties;
};

}  // namespace

static MapsOfObject newMaps;
static bool hasNewMaps;

// Out of line, because it runs once.
[[gnu::noinline]] static bool takeNewMaps() {
  // Objects of a class that is not registered yet register it.
  if (!isNameTaken(ztSignalMap_classname_) || !isNameTaken(ztPropertyMap_classname_)) return false;
  if (!isNameTaken(ztAvlTree_classname_)) return false;
  // The objects that the image is taken from are released, which a host's functions would see.
  if (!releasesMapsPlainly() || !hasOwnRelease(ztSignalMapClass_Instance()) ||
      !hasOwnRelease(ztPropertyMapClass_Instance()))
    return false;
  const Locked locked(engineLock);
  if (hasNewMaps) return true;
  auto *signals = newObject<ztSignalMap>(ztSignalMap_ctor);
  auto *properties = newObject<ztPropertyMap>(ztPropertyMap_ctor);
  const bool isWhole = signals != nullptr && properties != nullptr;
  if (isWhole) {
    newMaps.signals.take(&newMaps, *signals);
    newMaps.properties.take(&newMaps, *properties);
    __atomic_store_n(&hasNewMaps, true, __ATOMIC_RELEASE);
  }
  releasePart(signals);
  releasePart(properties);
  return isWhole;
}

// Whether nobody can notice that both maps are made at once.
[[gnu::flatten]] static bool makesMapsTogether() {
  return createsMapsPlainly() && createsSignalMapsPlainly() && createsPropertyMapsPlainly() &&
         (__atomic_load_n(&hasNewMaps, __ATOMIC_ACQUIRE) || takeNewMaps());
}

// Out of line, so that the usual creation keeps no addresses of the parts in registers.
[[gnu::cold, gnu::noinline]] static void mapsMade(const MapsOfObject *maps) {
  objectMade(&maps->signals.map, &maps->signals.tree, &maps->properties.map, &maps->properties.tree);
}

static bool makeMapsTogether(ztObject &self) {
  auto *maps = static_cast<MapsOfObject *>(ztm_alloc(sizeof(MapsOfObject)));
  if (maps == nullptr) {
    self.signals = nullptr;
    self.dynamicProperties = nullptr;
    return false;
  }
  if (hasCalls()) mapsMade(maps);
  maps->living = newMaps.living;
  maps->signals.copy(newMaps.signals);
  maps->properties.copy(newMaps.properties);
  self.signals = &maps->signals.map;
  self.dynamicProperties = &maps->properties.map;
  return true;
}

static int32_t objectCreate(ztObject &self) {
  self.flags = firstFlags();
  self.sender = nullptr;
  return makesMapsTogether() ? makeMapsTogether(self) : ObjectParts::create(self);
}

static void *objectClone(const ztObject &object, void *target) {
  ztObject *copy = ObjectParts::clone(object, target);
  if (copy == nullptr) return nullptr;
  copy->flags = firstFlags();
  copy->sender = nullptr;
  return copy;
}

// Out of line, because mostly nothing at all is under way.
[[gnu::noinline]] static bool areBusy(const ztObject &object) {
  return isBusy(asMap(object.signals)) || isBusy(asMap(object.dynamicProperties));
}

static bool isEmptyWithTree(const ztMap *map) {
  return map != nullptr && map->tree != nullptr && map->tree->root == nullptr;
}

// Whether an object has no signals and no dynamic properties, and nobody can notice how its maps are released.
static bool endsPlainly(const ztObject &object) {
  const ztMap *signals = asMap(object.signals);
  const ztMap *properties = asMap(object.dynamicProperties);
  return isEmptyWithTree(signals) && isEmptyWithTree(properties) &&
         isSole(signals, ztSignalMapClass_Instance()) && isSole(properties, ztPropertyMapClass_Instance()) &&
         hasOwnRelease(ztSignalMapClass_Instance()) && hasOwnRelease(ztPropertyMapClass_Instance()) &&
         releasesMapsPlainly() && ztBaseClass_table()->destroy == baseDestroy &&
         !((usesUnderWay() != nullptr || hasCalls()) && areBusy(object));
}

// Out of line, because mostly nobody has taken or replaced one.
[[gnu::noinline]] static void freeMapsApart(ztSignalMap *signals, ztPropertyMap *properties) {
  FreedObjects freed;
  freeMap(asMap(signals), &freed);
  freeMap(asMap(properties), &freed);
}

static void freeMaps(ztSignalMap *signals, ztPropertyMap *properties) {
  // Only such a block has a map of signals in it.
  auto *maps = static_cast<MapsOfObject *>(blockOf(signals));
  const bool isOne = maps != nullptr && signals->tree == &maps->signals.tree &&
                     properties == &maps->properties.map && properties->tree == &maps->properties.tree;
  if (isOne) {
    leaveBlock(maps, newMaps.living);
  } else {
    freeMapsApart(signals, properties);
  }
}

static void releaseMaps(ztObject &object) {
  if (!endsPlainly(object)) return ObjectParts::destroy(object);
  ztSignalMap *signals = std::exchange(object.signals, nullptr);
  ztPropertyMap *properties = std::exchange(object.dynamicProperties, nullptr);
  freeMaps(signals, properties);
}

// Removes an object that is being destroyed from the calls under way. Out of line, because mostly there are none.
[[gnu::noinline]] static void leaveCalls(ztObject &object) {
  ObjectWatch::objectDestroyed(&object);
  forgetReceiver(&object);
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
  if (object.flags & objectWatched) [[unlikely]]
    endWatches(&object);
  clearReserved(object.klass);
  leavePeers(&object, again);
  leaveCalls(object);
  releaseMaps(object);
  endCall(mark.mark);
}

// No function of a host runs meanwhile, so the destruction needs no record.
[[gnu::flatten]] static bool endObjectPlainly(void *ended) {
  auto &object = *static_cast<ztObject *>(ended);
  if ((object.flags & (objectBeingDestroyed | objectWatched)) != 0 || !endsPlainly(object)) return false;
  clearReserved(object.klass);
  if (hasCalls()) leaveCalls(object);
  freeMaps(object.signals, object.dynamicProperties);
  ztm_free(ended);
  return true;
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
  if (checksThreads) releaseCheck = checkRelease;
  leaveReceiver = forgetSender;
  endPlainly(PlainEnd::objects, method<objectDestroy>, endObjectPlainly);
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
