#include "objects/ztsignal.h"

#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/ztparts.hh"
#include "objects/ztmaps.hh"
#include "objects/ztstrmap.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztSignal, 40, 16);

// A signal that is not yet in an object's map has no slot map.
using SignalParts = Parts<&ztBaseClass_table, Part<&ztSignal::name, ztString_ctor>,
                          MapPart<Part<&ztSignal::slots>, &ztSignal::slots, releasesSlotsPlainly, freeSlots>>;

static int32_t signalCreate(ztSignal &signal) {
  signal.argumentCount = 0;
  signal.blocked = 0;
  return SignalParts::create(signal);
}

static void *signalClone(const ztSignal &signal, void *target) {
  return SignalParts::clone(signal, target);
}

static void forgetDeliveries(const ztSignal &signal) {
  forEachCallOn(&signal, [](Call &call, void *) {
    if (kindOf(call) == CallKind::delivery) call.subject = nullptr;
  });
}

static void signalDestroy(ztSignal &signal) {
  forgetDeliveries(signal);
  SignalParts::destroy(signal);
}

static bool hasPlainParts(const ztSignal &signal) {
  return endsPlainly(signal.name) && signal.slots != nullptr && releasesSlotsPlainly(signal.slots);
}

// Out of line, so that the release of an object without signals stays short.
[[gnu::noinline]] static void freeSignal(ztSignal *signal, FreedObjects *freed) {
  forgetDeliveries(*signal);
  freeString(signal->name, freed);
  freeSlots(signal->slots, freed);
  freed->add(signal);
}

static bool endSignalPlainly(void *object) {
  auto *signal = static_cast<ztSignal *>(object);
  if (ztOOP_classOf(object) != ztSignalClass_Instance()) return false;
  if (!releasesStringsPlainly() || !releasesMapsPlainly() || !hasPlainParts(*signal)) return false;
  FreedObjects freed;
  freeSignal(signal, &freed);
  return true;
}

static void signalFunctions(ztClassFunctions *) {
  endPlainly(PlainEnd::signals, method<signalDestroy>, endSignalPlainly);
}

static void signalMethods(ztSignalMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<signalCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<signalClone>);
  ZT_CALL_PARENT_ONLY(methods, ztBaseClass, assign);
  ZT_OVERRIDE_METHOD(methods, destroy, method<signalDestroy>);
}

ZT_DEFINE_CLASS_FULL(ztSignal, ztBaseClass, signalMethods, 1, ztClassFunctions, signalFunctions)

static int32_t signalMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  keyByString(object, ztSignalMap_compare_func);
  const ztSignalMapMethods *methods = ztSignalMap_of(object);
  methods->setValueConstructor(object, ztSignal_ctor);
  methods->setValueSize(object, sizeof(ztSignal), 0);
  methods->setValueCompareFunction(object, ztSignalMap_compare_func);
  return 1;
}

bool ztcore::createsSignalMapsPlainly() {
  return createsPlainly(ztSignalMapClass_Instance(), signalMapCreate);
}

static ztSignal *signalOf(const ztMapItem *item) {
  return static_cast<ztSignal *>(item->value);
}

static bool isPlain(const ztMapItem *item) {
  const ztSignal *signal = signalOf(item);
  return endsPlainly(item) && signal != nullptr && endsByRelease(signal, ztSignalClass_Instance()) &&
         endsPlainly(static_cast<const ztString *>(item->data)) && hasPlainParts(*signal);
}

// Besides the release of its parts, `destroy` calls that of the root class, as the `destroy` of strings does.
static bool releasesOwnSignals() {
  return releasesBy(ztSignalClass_Instance(), method<signalDestroy>) && releasesStringsPlainly();
}

bool ztcore::releasesSignalsPlainly(const ztSignalMap *signals) {
  return releasesPlainly(asMap(signals), ztSignalMapClass_Instance()) &&
         signals->keyConstructor == ztString_ctor && signals->valueConstructor == ztSignal_ctor &&
         (signals->tree->root == nullptr ||
          (releasesItemsPlainly() && releasesOwnSignals() && holdsForAll(signals->tree->root, isPlain)));
}

void ztcore::freeSignals(ztSignalMap *signals, FreedObjects *freed) {
  freeItems(signals->tree->root, freed, [=](ztMapItem *item) {
    freeString(static_cast<ztString *>(item->data), freed);
    freeSignal(signalOf(item), freed);
  });
  freeMap(asMap(signals), freed);
}

namespace {

// A signal in a map, with its names, its item and the map of its slots.
struct SignalBlock : SharedBlock {
  ztSignal signal;
  ztMapItem item;
  StringWithChars name;
  StringWithChars key;
  MapWithTree<ztSlotMap> slots;
};

}  // namespace

static_assert(sizeof(SignalBlock) <= furthestPart);

static SignalBlock newSignal;
static bool hasNewSignal;

// Objects of a class that is not registered yet register it.
static bool areRegistered() {
  return isNameTaken(ztSignal_classname_) && isNameTaken(ztString_classname_) &&
         isNameTaken(ztSlotMap_classname_) && isNameTaken(ztAvlTree_classname_);
}

// Out of line, because it runs once.
[[gnu::noinline]] static bool takeNewSignal() {
  if (!areRegistered()) return false;
  // The map that the image is taken from is released, which a host's functions would see.
  if (!releasesMapsPlainly() || !hasOwnRelease(ztSlotMapClass_Instance())) return false;
  const Locked locked(engineLock);
  if (hasNewSignal) return true;
  auto *slots = newObject<ztSlotMap>(ztSlotMap_ctor);
  if (slots == nullptr) return false;
  ztSlotMap_of(slots)->setAllowDuplicate(slots, 1);
  newSignal.slots.take(&newSignal, *slots);
  __atomic_store_n(&hasNewSignal, true, __ATOMIC_RELEASE);
  ztSlotMap_of(slots)->unRef(slots);
  return true;
}

// Whether signals are what a new one would be copied as: objects of the library's class, which copies and releases
// them.
static bool keepsOwnSignals(const ztSignalMap *signals) {
  return signals->keyConstructor == ztString_ctor && signals->valueConstructor == ztSignal_ctor &&
         signals->tree->compareFunction == ztSignalMap_compare_func &&
         ztSignal_table()->clone == method<signalClone> &&
         releasesBy(ztSignalClass_Instance(), method<signalDestroy>);
}

bool ztcore::addsSignalsPlainly(const ztSignalMap *signals) {
  return insertsPlainly(asMap(signals), ztSignalMapClass_Instance()) && keepsOwnSignals(signals) &&
         copiesTextsPlainly() && createsMapsPlainly() && createsSlotMapsPlainly() &&
         allowsOwnDuplicates(ztSlotMapClass_Instance()) &&
         (__atomic_load_n(&hasNewSignal, __ATOMIC_ACQUIRE) || takeNewSignal());
}

static SignalBlock *makeSignal(const char *name, uint32_t argumentCount) {
  auto *block = static_cast<SignalBlock *>(ztm_alloc(sizeof(SignalBlock)));
  if (block == nullptr) return nullptr;
  objectMade(&block->slots.map, &block->slots.tree);
  block->living = newSignal.living;
  block->slots.copy(newSignal.slots);
  ztSignal *signal = &block->signal;
  beginPart(block, signal, ztSignalClass_Instance());
  signal->name = &block->name.string;
  signal->slots = &block->slots.map;
  signal->argumentCount = argumentCount;
  signal->blocked = 0;
  if (block->name.make(block, name)) {
    if (block->key.make(block, name)) return block;
    ztm_free(block->name.chars.data);
  }
  ztm_free(block);
  return nullptr;
}

ztSignal *ztcore::addSignalPlainly(ztSignalMap *signals, const char *name, uint32_t argumentCount) {
  SignalBlock *block = makeSignal(name, argumentCount);
  if (block == nullptr) return nullptr;
  insertPlainly(asMap(signals), block, &block->item, &block->key.string, &block->signal);
  return &block->signal;
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
