#include "objects/ztobject.h"

#include "containers/ztavltree.h"
#include "containers/ztmapiter.h"
#include "core/ztbasec.hh"
#include "core/ztcheck.hh"
#include "core/ztkept.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/zttext.hh"
#include "io/zttxtfile.h"
#include "objects/ztobject.hh"
#include "objects/ztstrmap.hh"
#include "support/ztcutils.h"

#include <utility>

ZT_PIN_CLASS(ztObject, 40, 32);
ZT_PIN_FIELD(ztObject, signals, 16);
ZT_PIN_FIELD(ztObject, dynamicProperties, 24);
ZT_PIN_FIELD(ztObject, sender, 32);
ZT_PIN_SLOT(ztObject, staticProperties, 16);
ZT_PIN_SLOT(ztObject, connect, 20);
ZT_PIN_SLOT(ztObject, reserved, 23);
ZT_PIN_SLOT(ztObject, getSender, 31);

static const ztObject *objectOf(const void *object) {
  return static_cast<const ztObject *>(object);
}

static ztObjectMethods *tableOf(const ztClass *klass) {
  return static_cast<ztObjectMethods *>(klass->methodTable);
}

template <typename Object>
static void release(Object *&field) {
  Object *released = field;
  field = nullptr;
  if (released != nullptr) ztBaseClass_of(released)->unRef(released);
}

// Nothing connects to a dying object any more, since nobody would take the connection away.
static bool isDying(const void *object) {
  return (objectOf(object)->marks & ztObjectDying) != 0;
}

// Threads that use an object ----------------------------------------------------------------------

// The number of the thread that made an object, in the upper half of its marks.
constexpr uint32_t makerShift = 16;

void ztCheckThread(const void *object, const char *use) {
  if (object == nullptr) return;
  static bool logged;
  const uint32_t maker = objectOf(object)->marks >> makerShift;
  const uint32_t user = ztNumberOfThread() & (UINT32_MAX >> makerShift);
  if (maker == 0 || maker == user || __atomic_exchange_n(&logged, true, __ATOMIC_RELAXED)) return;
  ztLc_log("ztObject -> Warning: %s in another thread than the one that made the object, of class: %s\n", use,
           ztOOP_classNameOf(object));
}

// Static properties -------------------------------------------------------------------------------

namespace {

// A class that has a map of static properties. A map is made for a class that is registered, and for an
// ancestor that is not; the latter's is released with the library only.
struct StaticMapOwner {
  ztClass *klass;
  bool complete;  // other threads may read the map without a lock, so it does not change any more
  ztPropertyMap
      *retired;  // NULL: the class's map is meant; else one that it had when others may have read it
  StaticMapOwner *next;
};

}  // namespace

static StaticMapOwner *staticMapOwners;

// Maps that are being built. While there are any, threads that want one of a class's wait for the lock.
static uint32_t mapsBeingBuilt;

// Raised, under the lock, when a static property is lost for want of memory.
static uint32_t lostDeclarations;

void ztDeclarationLost() {
  ++lostDeclarations;
}

static ztPropertyMap *publishedMap(const ztClass *klass) {
  return __atomic_load_n(&tableOf(klass)->staticProperties, __ATOMIC_ACQUIRE);
}

static void publishMap(const ztClass *klass, ztPropertyMap *map) {
  __atomic_store_n(&tableOf(klass)->staticProperties, map, __ATOMIC_RELEASE);
}

static ztPropertyMap *mapOf(const StaticMapOwner *owner) {
  return owner->retired != nullptr ? owner->retired : publishedMap(owner->klass);
}

// Takes an owner off the list, with its map.
static void releaseOwner(StaticMapOwner **at) {
  StaticMapOwner *owner = *at;
  ztPropertyMap *map = mapOf(owner);
  *at = owner->next;
  if (owner->retired == nullptr) publishMap(owner->klass, nullptr);
  release(map);
  ztm_free(owner);
}

static void releaseStaticMaps(const ztClass *klass) {
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  StaticMapOwner **at = &staticMapOwners;
  while (*at != nullptr) {
    if ((*at)->klass == klass) {
      releaseOwner(at);
    } else {
      at = &(*at)->next;
    }
  }
}

// Where a class stands in the list for the map that it has; at the end when it has none.
static StaticMapOwner **ownerOf(const ztClass *klass) {
  StaticMapOwner **at = &staticMapOwners;
  while (*at != nullptr && ((*at)->klass != klass || (*at)->retired != nullptr)) at = &(*at)->next;
  return at;
}

void ztReleaseStaticProperties() {
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  while (staticMapOwners != nullptr) releaseOwner(&staticMapOwners);
}

static void buildStaticMap(ztClass *klass);

static bool hasTypeWithin(const ztPropertyMap *map, const ztClass *klass) {
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  auto *item = static_cast<ztMapItem *>(methods->first(&walk, map));
  while (item != nullptr && !ztIsWithin(static_cast<const ztProperty *>(item->value)->type, klass)) {
    item = static_cast<ztMapItem *>(methods->next(&walk));
  }
  methods->destroy(&walk);
  return item != nullptr;
}

void ztForgetStaticProperties(const ztClass *klass) {
  StaticMapOwner *owner = staticMapOwners;
  while (owner != nullptr) {
    if (ztIsWithin(owner->klass, klass) || hasTypeWithin(mapOf(owner), klass)) {
      releaseStaticMaps(owner->klass);
      owner = staticMapOwners;
    } else {
      owner = owner->next;
    }
  }
}

// Other threads may be reading a map that is replaced.
static void retireMap(const ztClass *klass) {
  StaticMapOwner *owner = *ownerOf(klass);
  if (owner == nullptr) return;
  if (__libc_single_threaded) {
    releaseStaticMaps(klass);
  } else {
    owner->retired = publishedMap(klass);
  }
}

// Gives a class a map, which it takes over, in place of the one it has.
static bool giveMap(ztClass *klass, ztPropertyMap *map, bool complete) {
  auto *owner = static_cast<StaticMapOwner *>(ztm_alloc(sizeof(StaticMapOwner)));
  if (owner == nullptr || map == nullptr) {
    ztm_free(owner);
    release(map);
    return false;
  }
  retireMap(klass);
  *owner = {klass, complete, nullptr, staticMapOwners};
  staticMapOwners = owner;
  publishMap(klass, map);
  return true;
}

static void inheritProperties(ztPropertyMap *map, const ztPropertyMap *ancestors) {
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  auto *item = static_cast<ztMapItem *>(methods->first(&walk, ancestors));
  const ztPropertyMapMethods *operations = ztPropertyMap_of(map);
  for (; item != nullptr; item = static_cast<ztMapItem *>(methods->next(&walk))) {
    if (operations->pushBack(map, item->data, item->value) != nullptr) continue;
    if (operations->find(map, item->data) == nullptr) ztDeclarationLost();
  }
  methods->destroy(&walk);
}

// An ancestor's map that is missing is made whole, with what it inherits itself: its properties then
// have the indices that they would have had, had an object of the ancestor been made before.
static void fillStaticMap(ztClass *klass) {
  for (ztClass *ancestor = klass->parent; ztOOP_isClassOfClass(ancestor, "ztObject");
       ancestor = ancestor->parent) {
    if (publishedMap(ancestor) == nullptr) buildStaticMap(ancestor);
    const ztPropertyMap *inherited = publishedMap(ancestor);
    if (inherited != nullptr) inheritProperties(publishedMap(klass), inherited);
  }
  if (tableOf(klass)->initProperties != nullptr) tableOf(klass)->initProperties(klass);
}

static void completeMap(const ztClass *klass, bool lacksSomething) {
  StaticMapOwner **owner = ownerOf(klass);
  if (*owner == nullptr) return;
  (*owner)->complete = true;
  if (lacksSomething) releaseOwner(owner);
}

// The class has its map from the beginning on, for its `initProperties` to find. One that lacks something in
// the end is taken back, and made again when it is next needed.
static void buildStaticMap(ztClass *klass) {
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  const uint32_t lostBefore = lostDeclarations;
  __atomic_add_fetch(&mapsBeingBuilt, 1, __ATOMIC_RELAXED);
  if (giveMap(klass, ztNewObject<ztPropertyMap>(ztPropertyMap_ctor), false)) {
    fillStaticMap(klass);
    completeMap(klass, lostDeclarations != lostBefore);
  } else {
    ztDeclarationLost();
  }
  __atomic_sub_fetch(&mapsBeingBuilt, 1, __ATOMIC_RELEASE);
}

// A class that was freed, or that the registry does not know, gets its map when it is first needed. NULL
// when memory is exhausted.
static ztPropertyMap *staticMapOf(ztClass *klass) {
  ztPropertyMap *map = publishedMap(klass);
  // In this order: a map that is not complete was put there after the count was raised.
  if (map != nullptr && __atomic_load_n(&mapsBeingBuilt, __ATOMIC_ACQUIRE) == 0) return map;
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  if (publishedMap(klass) == nullptr) buildStaticMap(klass);
  return publishedMap(klass);
}

static void objectClassInstanceCreate(ztClass *klass) {
  if (klass != nullptr) buildStaticMap(klass);
}

static void objectClassInstanceDestroy(ztClass *klass) {
  releaseStaticMaps(klass);
}

static void objectClassInit(ztClass *) {
  ztOOP_ensureRegistered("ztProperty", ztProperty_ctor);
  ztOOP_ensureRegistered("ztPropertyMap", ztPropertyMap_ctor);
}

static void objectClassDestroy(void *) {}

// Declaring and creating properties ---------------------------------------------------------------

static ztClass *propertyTypeOf(const char *typeName) {
  if (typeName == nullptr) return nullptr;
  return ztProperty_functions()->getPropertyTypeClass(nullptr, ztCu_fmtMsg("%sPropertyType", typeName));
}

static int32_t sizeOfMap(const void *map) {
  return map == nullptr ? 0 : ztMap_of(map)->getSize(map);
}

// Begins a property in the caller's memory; it is to be destroyed whatever the result.
static bool beginProperty(ztProperty *property, const char *name, ztClass *type, int32_t index,
                          const char *ownerClassName) {
  ztProperty_ctor(property, 1);
  property->type = type;
  property->index = index;
  ztCopyText(property->ownerClassName, ownerClassName);
  return property->name != nullptr && property->signalName != nullptr &&
         ztString_of(property->name)->set(property->name, name) != nullptr;
}

// Adds a property to a class's map; to a copy of it, where other threads may be reading it.
static bool insertStatic(ztClass *klass, ztPropertyMap *map, const StringSource &name,
                         const ztProperty &property) {
  const StaticMapOwner *owner = *ownerOf(klass);
  if (__libc_single_threaded || owner == nullptr || !owner->complete) {
    return ztInsertByKey(map, name, &property) != nullptr;
  }
  auto *copy = static_cast<ztPropertyMap *>(ztCopyObject(map));
  if (copy == nullptr || ztInsertByKey(copy, name, &property) != nullptr) return giveMap(klass, copy, true);
  release(copy);
  return false;
}

static int32_t objectAddProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                                 ztSetter setter, void *userWord, const char *signalName) {
  if (klass == nullptr || name == nullptr) return 0;
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  // First of all: the first declaration ever has the string class registered ahead of the types.
  const StringSource key(name);
  ztPropertyMap *map = staticMapOf(klass);
  ztClass *type = propertyTypeOf(typeName);
  if (map == nullptr) ztDeclarationLost();
  if (map == nullptr || type == nullptr || ztFindByName(map, name) != nullptr) return 0;

  ztProperty property;
  bool complete = beginProperty(&property, name, type, sizeOfMap(map), klass->name);
  property.getter = getter;
  property.setter = setter;
  property.userWord = userWord;
  if (complete && signalName != nullptr) {
    complete = ztString_of(property.signalName)->set(property.signalName, signalName) != nullptr;
  }
  const bool added = complete && insertStatic(klass, map, key, property);
  if (!added) ztDeclarationLost();
  ztProperty_of(&property)->destroy(&property);
  return added;
}

int32_t ztDeclareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                          ztSetter setter, const char *typeClassName, ztCtor typeCtor) {
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  const ztObjectMethods *methods = tableOf(klass);
  const int32_t added = methods->addProperty(klass, name, typeName, getter, setter, nullptr, nullptr);
  if (added) return added;
  ztOOP_ensureRegistered(typeClassName, typeCtor);
  if (!ztOOP_isClassRegistered(typeClassName)) ztDeclarationLost();
  ztProperty_functions()->registerNewType(nullptr, typeClassName);
  return methods->addProperty(klass, name, typeName, getter, setter, nullptr, nullptr);
}

static int32_t objectInitProperties(ztClass *klass) {
  if (klass == nullptr) return 0;
  ztGetter getter;
  getter.getInt = tableOf(klass)->getRefCount;
  ztSetter setter;
  setter.setInt = nullptr;
  return ztDeclareProperty(klass, "refCount", "ztInt", getter, setter, "ztIntPropertyType",
                           ztIntPropertyType_ctor);
}

static int32_t createProperty(ztObject *object, const char *name, const char *typeName, const void *initial) {
  ztClass *type = propertyTypeOf(typeName);
  const ztPropertyMap *inherited = staticMapOf(object->klass);
  if (type == nullptr || inherited == nullptr || object->dynamicProperties == nullptr) return 0;
  const int32_t index = sizeOfMap(inherited) + sizeOfMap(object->dynamicProperties);
  const auto *operations = static_cast<const ztPropertyTypeMethods *>(type->methodTable);
  // Not every type of a host's needs to have storage.
  if (operations->allocDynamicProperty == nullptr) return 0;
  ztProperty property;
  const bool added = beginProperty(&property, name, type, index, object->klass->name) &&
                     operations->allocDynamicProperty(type, &property, initial) != nullptr &&
                     ztInsertByName(object->dynamicProperties, name, &property) != nullptr;
  ztProperty_of(&property)->destroy(&property);
  return added;
}

// Reading and writing properties ------------------------------------------------------------------

static ztProperty *findProperty(const ztObject *object, const char *name) {
  void *found = ztFindByName(staticMapOf(object->klass), name);
  if (found == nullptr) found = ztFindByName(object->dynamicProperties, name);
  return static_cast<ztProperty *>(found);
}

static int32_t objectSetProperty(ztObject &object, const char *name, const char *typeName, ztWord value) {
  if (name == nullptr) return 0;
  if (ztChecksThreads) ztCheckThread(&object, "the setting of a property");
  ztProperty *property = findProperty(objectOf(&object), name);
  if (property != nullptr) return ztProperty_of(property)->setValue(property, &object, value);
  return createProperty(&object, name, typeName, reinterpret_cast<const void *>(value));
}

static int32_t objectGetProperty(void *object, const char *name, const char *, void *out) {
  if (object == nullptr || name == nullptr) return 0;
  const ztProperty *property = findProperty(objectOf(object), name);
  return property == nullptr ? 0 : ztProperty_of(property)->getValue(property, object, out);
}

// Stores the addresses of the map's properties from position `at` on; the position behind them.
static int32_t listProperties(void *array, const ztPropertyMap *map, int32_t at) {
  if (map == nullptr) return at;
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  auto *item = static_cast<ztMapItem *>(methods->first(&walk, map));
  for (; item != nullptr; item = static_cast<ztMapItem *>(methods->next(&walk))) {
    ztPropertyPtrArray_of(array)->setAt(array, item->value, at++);
  }
  methods->destroy(&walk);
  return at;
}

static int32_t listAllProperties(void *array, const ztPropertyMap *first, const ztPropertyMap *second) {
  if (array == nullptr) return 0;
  const ztPropertyPtrArrayMethods *methods = ztPropertyPtrArray_of(array);
  if (!methods->setSize(array, sizeOfMap(first) + sizeOfMap(second))) return 0;
  listProperties(array, second, listProperties(array, first, 0));
  methods->sort(array, ztObject_propertiesSortFunc);
  return 1;
}

static int32_t objectGetProperties(const void *object, void *array) {
  const ztPropertyMap *map = object == nullptr ? nullptr : staticMapOf(objectOf(object)->klass);
  return map == nullptr ? 0 : listAllProperties(array, map, objectOf(object)->dynamicProperties);
}

static int32_t objectGetStaticProperties(const void *object, void *array) {
  const ztPropertyMap *map = object == nullptr ? nullptr : staticMapOf(objectOf(object)->klass);
  return map == nullptr ? 0 : listAllProperties(array, map, nullptr);
}

static int32_t objectGetDynamicProperties(const void *object, void *array) {
  return object == nullptr ? 0 : listAllProperties(array, nullptr, objectOf(object)->dynamicProperties);
}

int32_t ztObject_propertiesSortFunc(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return 0;
  const int32_t one = (*static_cast<const ztProperty *const *>(first))->index;
  const int32_t other = (*static_cast<const ztProperty *const *>(second))->index;
  return (one > other) - (one < other);
}

// Slots of a signal -------------------------------------------------------------------------------

static ztSignal *findSignal(const void *object, const char *name) {
  return object == nullptr ? nullptr : static_cast<ztSignal *>(ztFindByName(objectOf(object)->signals, name));
}

static ztMapItem *mapItem(void *item) {
  return static_cast<ztMapItem *>(item);
}

static ztSlot *slotOf(const ztMapItem *item) {
  return static_cast<ztSlot *>(item->value);
}

namespace {

// Walks the slots of one receiver, in map order. Valid until the map changes.
class ReceiverSlots {
 public:
  ReceiverSlots(const ztSlotMap *slots, const void *wanted) : receiver(wanted) {
    ztMapIterator_ctor(&walk, 1);
    if (slots != nullptr && slots->tree != nullptr) start(slots->tree);
  }
  ~ReceiverSlots() {
    ztMapIterator_of(&walk)->destroy(&walk);
  }
  ReceiverSlots(const ReceiverSlots &) = delete;
  ReceiverSlots &operator=(const ReceiverSlots &) = delete;

  // The current item; NULL behind the last.
  ztMapItem *item() const {
    return current != nullptr && current->data == receiver ? current : nullptr;
  }
  void next() {
    current = mapItem(ztMapIterator_of(&walk)->next(&walk));
  }

 private:
  // Places the iterator on the first item that does not sort before the receiver: the last one on the
  // way down at which the way turned left.
  void start(const ztAvlTree *tree) {
    walk.tree = tree;
    uint32_t depth = 0;
    ztAvlTreeItem *found = nullptr;
    uint32_t foundDepth = 0;
    for (ztAvlTreeItem *item = tree->root; item != nullptr;) {
      const bool before = ztSlotMap_key_compare_func_ptr(item->data, receiver) < 0;
      walk.path[depth] = item;
      if (!before) {
        found = item;
        foundDepth = depth;
      }
      ++depth;
      item = before ? item->right : item->left;
    }
    walk.current = found;
    walk.depth = foundDepth;
    current = mapItem(found);
  }

  const void *receiver;
  ztMapIterator walk;
  ztMapItem *current = nullptr;
};

}  // namespace

static bool isSame(ztSlotFunction one, ztSlotFunction other) {
  return one.call0 == other.call0;
}

static ztMapItem *findSlot(const ztSlotMap *slots, const void *receiver, ztSlotFunction function) {
  ReceiverSlots candidates(slots, receiver);
  for (; candidates.item() != nullptr; candidates.next()) {
    const ztSlot *slot = slotOf(candidates.item());
    if (slot->receiver == receiver && isSame(slot->function, function)) return candidates.item();
  }
  return nullptr;
}

static void removeReceiver(ztSlotMap *slots, const void *receiver) {
  if (slots == nullptr) return;
  const ztSlotMapMethods *methods = ztSlotMap_of(slots);
  // Items move when one is removed, so each is looked up anew.
  // A map of a host's that takes nothing out ends it.
  while (methods->find(slots, receiver) != nullptr && methods->pop(slots, receiver)) {
  }
}

// Moves the slot of the current item into the item `last`, and those on the way one place back.
static void moveLater(ReceiverSlots &walk, const void *last) {
  for (ztMapItem *item = walk.item(); item != last; item = walk.item()) {
    walk.next();
    std::swap(item->value, walk.item()->value);
  }
}

// Moves the slot of the item `last` into the current item, and those on the way one place on.
static void moveEarlier(ReceiverSlots &walk, const ztMapItem *last) {
  void *carried = last->value;
  for (;; walk.next()) {
    std::swap(walk.item()->value, carried);
    if (walk.item() == last) return;
  }
}

static bool isAmong(const ztSlotMap *slots, const void *receiver, const void *item) {
  ReceiverSlots walk(slots, receiver);
  while (walk.item() != nullptr && walk.item() != item) walk.next();
  return walk.item() != nullptr;
}

// `pop` removes the item that `find` meets first. The unwanted slot is brought into that item, and the
// slots between the two move by one place each, so that the others stay in order. In a map that a host gave
// another order it may meet none of the receiver's: then none goes.
static bool removeSlot(ztSlotMap *slots, const void *receiver, const ztMapItem *unwanted) {
  const void *first = ztSlotMap_of(slots)->find(slots, receiver);
  if (!isAmong(slots, receiver, first)) return false;
  ReceiverSlots walk(slots, receiver);
  while (walk.item() != first && walk.item() != unwanted) walk.next();
  if (walk.item() == unwanted) {
    moveLater(walk, first);
  } else {
    moveEarlier(walk, unwanted);
  }
  return ztSlotMap_of(slots)->pop(slots, receiver) != 0;
}

// Delivery ----------------------------------------------------------------------------------------

void ztSlotRemoved() {
  if (ztThisThread.calls != nullptr) ++ztThisThread.calls->removals;
}

void ztSignalDestroyed(const void *signal) {
  ztForEachCall([=](ztCall &call) {
    if (call.subject == signal && ztKindOf(call) == ztCallKind::delivery) call.subject = nullptr;
  });
}

static void forgetReceiver(const void *dying) {
  const ztCalls *calls = ztThisThread.calls;
  if (calls == nullptr) return;
  for (uint32_t i = 0; i < calls->pendingCount; ++i) {
    if (calls->pending[i].receiver == dying) calls->pending[i].receiver = nullptr;
  }
}

// Copies the slots of a map in its order; the place behind the last.
static ztPendingSlot *collectSlots(const ztAvlTreeItem *item, ztPendingSlot *pending) {
  for (; item != nullptr; item = item->right) {
    pending = collectSlots(item->left, pending);
    const auto *slot = static_cast<const ztSlot *>(reinterpret_cast<const ztMapItem *>(item)->value);
    *pending++ = {item->data, slot->function.call0};
  }
  return pending;
}

namespace {

// One emission under way: the slots that were connected when it began. They are copies, since the map
// changes under the hands of its slots.
struct Delivery {
  ztCallMark mark;
  uint32_t first;  // among the pending slots
  uint32_t end;
};

}  // namespace

// In a frame of its own. False when there is nothing to deliver, and without memory.
static bool beginDelivery(Delivery *delivery, const ztSignal *signal) {
  if (signal->blocked != 0 || signal->slots == nullptr) return false;
  const ztAvlTree *tree = signal->slots->tree;
  if (tree == nullptr || tree->root == nullptr) return false;
  ztCall *call = ztBeginCall(&delivery->mark, ztCallKind::delivery, signal, ztFrameOf(&delivery->mark));
  if (call == nullptr) return false;
  ztCalls *calls = ztThisThread.calls;
  delivery->first = ztReservePending(calls, tree->count);
  if (delivery->first == ztNoPlace) {
    ztEndCall(delivery->mark);
    return false;
  }
  delivery->end = delivery->first + tree->count;
  if (calls->pendingCount < delivery->end) calls->pendingCount = delivery->end;
  call->first = delivery->first;
  call->end = delivery->end;
  collectSlots(tree->root, calls->pending + delivery->first);
  return true;
}

static void endDelivery(const Delivery &delivery) {
  if (!ztEndCall(delivery.mark)) return;
  ztCalls *calls = ztThisThread.calls;
  if (calls->pendingCount == delivery.end) {
    calls->pendingCount = delivery.first;
  } else {
    ztTrimPending(calls);
  }
}

constexpr uint32_t mostArguments = 4;

static uint32_t argumentCountOf(const ztSignal *signal) {
  return signal->argumentCount & 0xff;
}

static void callWithWord(void *receiver, ztSlotFunction function, uint32_t argumentCount, intptr_t first) {
  switch (argumentCount) {
    case 0:  // ignored by what takes no argument, but needed by the slots of `connect` on "destroyed"
    case 1:
      function.call1(receiver, first);
      break;
    case 2:
      function.call2(receiver, first, 0);
      break;
    case 3:
      function.call3(receiver, first, 0, 0);
      break;
    case mostArguments:
      function.call4(receiver, first, 0, 0, 0);
      break;
    default:
      break;  // more arguments than any slot takes: nothing is called
  }
}

static void callWithNumber(void *receiver, ztSlotFunction function, uint32_t argumentCount, double first) {
  switch (argumentCount) {
    case 0:
      function.call0(receiver);
      break;
    case 1:
      function.number1(receiver, first);
      break;
    case 2:
      function.number2(receiver, first, 0);
      break;
    case 3:
      function.number3(receiver, first, 0, 0);
      break;
    case mostArguments:
      function.number4(receiver, first, 0, 0, 0);
      break;
    default:
      break;
  }
}

static void callSlot(const ztPendingSlot &slot, uint32_t argumentCount, const EmittedValue &value) {
  ztSlotFunction function;
  function.call0 = slot.function;
  if (value.isNumber) {
    callWithNumber(slot.receiver, function, argumentCount, value.number);
  } else {
    callWithWord(slot.receiver, function, argumentCount, value.word);
  }
}

static bool isStillConnected(const ztSignal *signal, const ztPendingSlot &slot) {
  ztSlotFunction function;
  function.call0 = slot.function;
  return findSlot(signal->slots, slot.receiver, function) != nullptr;
}

// False when it ended before its last slot.
static bool deliver(const Delivery &delivery, void *emitter, const ztSignal *signal,
                    const EmittedValue &value) {
  ztCalls *calls = ztThisThread.calls;
  ztCall *call = ztCallOf(delivery.mark);
  const uint32_t argumentCount = argumentCountOf(signal);
  const uint32_t removalsBefore = calls->removals;
  for (uint32_t at = delivery.first; at < delivery.end; ++at) {
    const ztPendingSlot slot = calls->pending[at];
    if (slot.receiver == nullptr) continue;
    if (calls->removals != removalsBefore && !isStillConnected(signal, slot)) continue;
    call->detail = at;
    auto *receiver = static_cast<ztObject *>(slot.receiver);
    receiver->sender = emitter;
    callSlot(slot, argumentCount, value);
    call = ztCallOf(delivery.mark);
    if (call == nullptr) return false;
    if (calls->pending[at].receiver != nullptr) receiver->sender = nullptr;
    if (call->subject == nullptr) return false;
  }
  return true;
}

ZT_OWN_FRAME static int32_t emitSignal(void *emitter, const ztSignal *signal, const EmittedValue &value) {
  Delivery delivery;
  if (!beginDelivery(&delivery, signal)) return 0;
  deliver(delivery, emitter, signal, value);
  endDelivery(delivery);
  return 1;
}

int32_t ztEmit(void *emitter, const char *signalName, EmittedValue value) {
  if (ztChecksThreads) ztCheckThread(emitter, "an emission");
  const ztSignal *signal = findSignal(emitter, signalName);
  return signal == nullptr ? 0 : emitSignal(emitter, signal, value);
}

void *ztEmitterOf(void *object) {
  const ztClass *klass = object == nullptr ? nullptr : ztOOP_classOf(object);
  while (klass != nullptr && klass != ztObjectClass_Instance()) klass = klass->parent;
  return klass == nullptr ? nullptr : object;
}

void ztNotifyPropertyChange(void *object, EmittedValue value) {
  ztEmit(object, "prop->signalname", value);
}

int32_t ztObject_emit(void *object, const char *signalName, intptr_t first) {
  return ztEmit(object, signalName, EmittedValue(first));
}

int32_t ztObject_emitDouble(void *object, const char *signalName, double first) {
  return ztEmit(object, signalName, EmittedValue(first));
}

// Connecting --------------------------------------------------------------------------------------

static ztSignal *insertSignal(ztSignalMap *signals, const char *name, uint32_t argumentCount) {
  // Only a source to copy from, and so not created.
  StringSource ownName(name);
  ztSignal fresh;
  ztSignal_ctor(&fresh, 0);
  fresh.name = ownName.field();
  fresh.slots = nullptr;
  fresh.argumentCount = argumentCount;
  fresh.blocked = 0;
  auto *signal = static_cast<ztSignal *>(ztInsertByName(signals, name, &fresh));
  if (signal == nullptr) return nullptr;

  signal->slots = ztNewObject<ztSlotMap>(ztSlotMap_ctor);
  if (signal->slots == nullptr) {
    StringView key(name);
    ztSignalMap_of(signals)->pop(signals, key.get());
    return nullptr;
  }
  ztSlotMap_of(signal->slots)->setAllowDuplicate(signal->slots, 1);
  return signal;
}

static ztSignal *objectAddSignal(ztClass *, void *object, const char *name, uint32_t argumentCount) {
  if (object == nullptr || name == nullptr || objectOf(object)->signals == nullptr) return nullptr;
  ztSignal *known = findSignal(object, name);
  return known != nullptr ? known : insertSignal(objectOf(object)->signals, name, argumentCount);
}

static int32_t objectAddSlot(ztClass *, void *signal, void *receiver, const char *slotName,
                             ztSlotFunction function) {
  if (signal == nullptr || receiver == nullptr || function.call0 == nullptr) return 0;
  ztSlotMap *slots = static_cast<ztSignal *>(signal)->slots;
  if (slots == nullptr || isDying(receiver) || findSlot(slots, receiver, function) != nullptr) return 0;
  // Only a source to copy from, and so not created.
  StringSource name(slotName);
  ztSlot slot;
  ztSlot_ctor(&slot, 0);
  slot.name = name.field();
  slot.receiver = receiver;
  slot.function = function;
  return ztSlotMap_of(slots)->pushBack(slots, receiver, &slot) != nullptr;
}

static ztSlotFunction destroyedSlotOf(const void *object) {
  ztSlotFunction function;
  function.object1 = ztObject_of(object)->destroyed;
  return function;
}

// Has `watcher` drop its slots aimed at `watched` when that is destroyed. False when it could not be
// arranged.
static bool watchDestruction(ztClass *klass, void *watched, void *watcher) {
  const ztObjectMethods *methods = tableOf(klass);
  ztSignal *destroyed = methods->addSignal(klass, watched, "destroyed", 1);
  if (destroyed == nullptr) return false;
  const ztSlotFunction forget = destroyedSlotOf(watcher);
  return methods->addSlot(klass, destroyed, watcher, "destroyed", forget) ||
         findSlot(destroyed->slots, watcher, forget) != nullptr;
}

static bool linkEnds(ztClass *klass, void *sender, void *receiver) {
  if (!watchDestruction(klass, receiver, sender)) return false;
  if (watchDestruction(klass, sender, receiver)) return true;
  // Half a link would stay behind in the receiver when the sender is gone.
  ztObject_disconnect(receiver, "destroyed", sender, destroyedSlotOf(sender));
  return false;
}

static int32_t objectConnect(ztClass *klass, void *sender, const char *signalName, void *receiver,
                             const char *slotName, ztSlotFunction function, uint32_t argumentCount) {
  if (klass == nullptr || sender == nullptr || signalName == nullptr || receiver == nullptr) return 0;
  if (function.call0 == nullptr) return 0;
  if (ztChecksThreads) ztCheckThread(sender, "a connection");
  if (isDying(sender) || isDying(receiver)) return 0;
  if (sender != receiver && !linkEnds(klass, sender, receiver)) return 0;
  const ztObjectMethods *methods = tableOf(klass);
  ztSignal *signal = methods->addSignal(klass, sender, signalName, argumentCount);
  return signal == nullptr ? 0 : methods->addSlot(klass, signal, receiver, slotName, function);
}

static int32_t objectConnectionExist(ztClass *, const void *object, const char *signalName,
                                     const void *receiver, ztSlotFunction function) {
  const ztSignal *signal = findSignal(object, signalName);
  return signal != nullptr && findSlot(signal->slots, receiver, function) != nullptr;
}

// Drops all slots of one receiver but those with one function.
static void removeReceiverExcept(ztSlotMap *slots, const void *receiver, ztSlotFunction kept) {
  if (slots == nullptr) return;
  for (;;) {
    const ztMapItem *unwanted = nullptr;
    for (ReceiverSlots walk(slots, receiver); walk.item() != nullptr && unwanted == nullptr; walk.next()) {
      if (!isSame(slotOf(walk.item())->function, kept)) unwanted = walk.item();
    }
    if (unwanted == nullptr || !removeSlot(slots, receiver, unwanted)) return;
  }
}

// Drops an object's slots that are aimed at one that goes; all but the one by which the object tells that one
// of its own end, where that is still needed.
static void forgetPeer(void *object, void *dying, bool staysTied) {
  if (object == dying || objectOf(object)->signals == nullptr) return;
  const ztSignal *destroyed = staysTied ? findSignal(object, "destroyed") : nullptr;
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  const ztMapItem *item = mapItem(methods->first(&walk, objectOf(object)->signals));
  for (; item != nullptr; item = mapItem(methods->next(&walk))) {
    const auto *signal = static_cast<const ztSignal *>(item->value);
    if (destroyed != nullptr && signal == destroyed) {
      removeReceiverExcept(destroyed->slots, dying, destroyedSlotOf(dying));
    } else {
      removeReceiver(signal->slots, dying);
    }
  }
  methods->destroy(&walk);
}

// The record of an object's end that is under way.
static ztCall *endingOf(const void *object) {
  ztCall *ending = nullptr;
  ztForEachCall([&](ztCall &call) {
    if (call.subject == object && ztKindOf(call) == ztCallKind::ending) ending = &call;
  });
  return ending;
}

static void objectDestroyed(void *object, void *dying) {
  if (object == nullptr) return;
  const ztCall *ending = endingOf(dying);
  forgetPeer(object, dying, ending != nullptr && ending->detail != 0);
}

// Has the peers that are in a map of "destroyed" forget the object.
static void leavePeers(void *object, const ztSignal *destroyed) {
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  const ztMapItem *item = mapItem(methods->first(&walk, destroyed->slots));
  for (; item != nullptr; item = mapItem(methods->next(&walk))) {
    void *peer = slotOf(item)->receiver;
    if (isSame(slotOf(item)->function, destroyedSlotOf(peer))) forgetPeer(peer, object, false);
  }
  methods->destroy(&walk);
}

// The same for those among the receivers of a delivery that still live.
static void leaveReceivers(void *object, const Delivery &delivery) {
  if (ztCallOf(delivery.mark) == nullptr) return;
  const ztCalls *calls = ztThisThread.calls;
  for (uint32_t at = delivery.first; at < delivery.end; ++at) {
    const ztPendingSlot &slot = calls->pending[at];
    if (slot.receiver == nullptr || slot.function != destroyedSlotOf(slot.receiver).call0) continue;
    forgetPeer(slot.receiver, object, false);
  }
}

static bool callsHost(const Delivery &delivery) {
  ztSlotFunction own;
  own.object1 = objectDestroyed;
  for (uint32_t at = delivery.first; at < delivery.end; ++at) {
    if (ztThisThread.calls->pending[at].function != own.call0) return true;
  }
  return false;
}

// Tells every peer that the object goes. Where the signal does not reach them (it is blocked, was made
// with too many arguments, or memory is exhausted), they forget the object all the same.
//
// A peer that was told drops its slots aimed at the object, which still has its own aimed at the peer. A slot
// of a host's may release the peer before the object is at its end, or leave by an exception so that it does
// not come to it: therefore the peer stays tied until then, and tells the object in its turn.
ZT_OWN_FRAME static void announceDestruction(void *object, const ztSignal *destroyed) {
  Delivery delivery;
  if (!beginDelivery(&delivery, destroyed)) {
    leavePeers(object, destroyed);
    return;
  }
  const bool tied = callsHost(delivery);
  const bool reaches = argumentCountOf(destroyed) <= mostArguments;
  ztCall *ending = tied ? endingOf(object) : nullptr;
  if (ending != nullptr) ending->detail = 1;
  const EmittedValue value(reinterpret_cast<intptr_t>(object));
  if (!deliver(delivery, object, destroyed, value) || tied || !reaches) leaveReceivers(object, delivery);
  endDelivery(delivery);
}

int32_t ztObject_disconnect(void *sender, const char *signalName, void *receiver, ztSlotFunction function) {
  const ztSignal *signal = findSignal(sender, signalName);
  if (signal == nullptr) return 0;
  const ztMapItem *item = findSlot(signal->slots, receiver, function);
  if (item == nullptr) return 0;
  return removeSlot(signal->slots, receiver, item);
}

int32_t ztObject_blockSignal(void *object, const char *signalName, uint32_t blocked) {
  ztSignal *signal = findSignal(object, signalName);
  if (signal == nullptr) return 0;
  signal->blocked = blocked;
  return 1;
}

// The connection dump -----------------------------------------------------------------------------

static void printSlots(void *file, const ztSlotMap *slots) {
  if (slots == nullptr) return;
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  const ztMapItem *item = mapItem(methods->first(&walk, slots));
  for (; item != nullptr; item = mapItem(methods->next(&walk))) {
    const ztSlot *slot = slotOf(item);
    const auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(slot->receiver));
    ztTextFile_of(file)->writeString(
        file, ztCu_fmtMsg("\tSlot '%s' - Receiver: 0x%x (Class: %s)\n", ztTextOf(slot->name), address,
                          ztOOP_classNameOf(slot->receiver)));
  }
  methods->destroy(&walk);
}

static void printSignals(void *file, const ztSignalMap *signals) {
  if (signals == nullptr) return;
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  const ztMapItem *item = mapItem(methods->first(&walk, signals));
  for (; item != nullptr; item = mapItem(methods->next(&walk))) {
    const auto *signal = static_cast<const ztSignal *>(item->value);
    ztTextFile_of(file)->writeString(file, ztCu_fmtMsg("- Slots for signal '%s'\n", ztTextOf(signal->name)));
    printSlots(file, signal->slots);
  }
  methods->destroy(&walk);
}

static void objectPrintConnections(ztClass *klass, void *object, const char *fileName) {
  if (klass == nullptr || object == nullptr) return;
  void *file = ztTextFile_ctor(nullptr, 1);
  if (file == nullptr) return;
  const ztTextFileMethods *methods = ztTextFile_of(file);
  if (methods->open(file, fileName, "w")) {
    methods->writeString(file, ztCu_fmtMsg("# Connections for class '%s'\n", klass->name));
    printSignals(file, objectOf(object)->signals);
  }
  methods->unRef(file);
}

// Life of an object -------------------------------------------------------------------------------

// The maker is told from other threads where that is checked.
static uint32_t firstMarks() {
  return ztChecksThreads ? ztNumberOfThread() << makerShift : 0;
}

// Threads that use different objects share the word, and so do not write it without need.
static void clearReserved(const ztClass *klass) {
  void **reserved = &tableOf(klass)->reserved;
  if (__atomic_load_n(reserved, __ATOMIC_RELAXED) == nullptr) return;
  __atomic_store_n(reserved, nullptr, __ATOMIC_RELAXED);
}

static int32_t objectCreate(ztObject &self) {
  self.marks = firstMarks();
  self.signals = nullptr;
  self.dynamicProperties = nullptr;
  self.sender = nullptr;
  if (!ztBaseClass_table()->create(&self)) return 0;
  self.signals = ztNewObject<ztSignalMap>(ztSignalMap_ctor);
  self.dynamicProperties = ztNewObject<ztPropertyMap>(ztPropertyMap_ctor);
  return self.signals != nullptr && self.dynamicProperties != nullptr;
}

static void *objectClone(const void *object, void *target) {
  auto *copy = static_cast<ztObject *>(ztBaseClass_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->marks = firstMarks();
  copy->sender = nullptr;
  copy->signals = ztNewObject<ztSignalMap>(ztSignalMap_ctor);
  const ztPropertyMap *properties = objectOf(object)->dynamicProperties;
  copy->dynamicProperties = static_cast<ztPropertyMap *>(ztCopyObject(properties));
  if (copy->signals != nullptr && (properties == nullptr || copy->dynamicProperties != nullptr)) return copy;
  release(copy->signals);
  release(copy->dynamicProperties);
  ztBaseClass_table()->destroy(copy);
  return nullptr;
}

// What was not told when an end was interrupted is not told any more.
static void tellPeers(void *object, bool again) {
  const ztSignal *destroyed = findSignal(object, "destroyed");
  if (destroyed == nullptr) return;
  if (again) {
    leavePeers(object, destroyed);
  } else {
    announceDestruction(object, destroyed);
  }
}

// An end that was interrupted, by an exception out of a slot, is finished by the next one.
ZT_OWN_FRAME static void objectDestroy(void *object) {
  auto *self = static_cast<ztObject *>(object);
  if (self == nullptr) return;
  const bool again = isDying(object);
  if (again && self->signals == nullptr && self->dynamicProperties == nullptr) return;
  // A slot of "destroyed" may end the emitter once more.
  if (again && ztIsUnderWay(object, ztCallKind::ending)) return;
  ztEndMark mark;
  ztBeginEnd(&mark, ztCallKind::ending, object);
  self->marks |= ztObjectDying;
  clearReserved(self->klass);
  tellPeers(object, again);
  ObjectWatch::objectDestroyed(object);
  forgetReceiver(object);
  release(self->signals);
  release(self->dynamicProperties);
  ztBaseClass_table()->destroy(object);
  ztEndCall(mark.mark);
}

static void *objectGetSender(const void *object) {
  return object == nullptr ? nullptr : objectOf(object)->sender;
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
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, objectClassInstanceCreate);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, objectClassInstanceDestroy);
  ZT_OVERRIDE_METHOD(methods, create, ztMethod<objectCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, objectClone);
  ZT_OVERRIDE_METHOD(methods, destroy, objectDestroy);
  ZT_OVERRIDE_METHOD(methods, printConnections, objectPrintConnections);
  ZT_OVERRIDE_METHOD(methods, addSignal, objectAddSignal);
  ZT_OVERRIDE_METHOD(methods, addSlot, objectAddSlot);
  ZT_OVERRIDE_METHOD(methods, connect, objectConnect);
  ZT_OVERRIDE_METHOD(methods, connectionExist, objectConnectionExist);
  ZT_OVERRIDE_METHOD(methods, destroyed, objectDestroyed);
  ZT_OVERRIDE_METHOD(methods, addProperty, objectAddProperty);
  ZT_OVERRIDE_METHOD(methods, initProperties, objectInitProperties);
  ZT_OVERRIDE_METHOD(methods, setProperty, ztMethod<objectSetProperty>);
  ZT_OVERRIDE_METHOD(methods, getProperty, objectGetProperty);
  ZT_OVERRIDE_METHOD(methods, getProperties, objectGetProperties);
  ZT_OVERRIDE_METHOD(methods, getStaticProperties, objectGetStaticProperties);
  ZT_OVERRIDE_METHOD(methods, getDynamicProperties, objectGetDynamicProperties);
  ZT_OVERRIDE_METHOD(methods, getSender, objectGetSender);
}

ZT_DEFINE_CLASS_FULL(ztObject, ztBaseClass, objectMethods, 1, ztClassFunctions, objectFunctions)
