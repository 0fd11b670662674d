#include "objects/ztconnect.hh"

#include "containers/ztown.hh"
#include "containers/ztuse.hh"
#include "containers/ztwalk.hh"
#include "core/ztbasec.hh"
#include "core/ztcheck.hh"
#include "core/ztmethod.hh"
#include "io/zttxtfile.h"
#include "objects/ztdeclared.hh"
#include "objects/ztdelivery.hh"
#include "objects/ztmaps.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztslots.hh"
#include "objects/ztstrmap.hh"
#include "support/ztcutils.h"

using namespace ztcore;

static ztSignal *insertSignal(ztSignalMap *signals, const char *name, uint32_t argumentCount) {
  if (addsSignalsPlainly(signals)) return addSignalPlainly(signals, name, argumentCount);
  // Not created, because it is only a source to copy from.
  CopyableText ownName(name);
  ztSignal fresh;
  ztSignal_ctor(&fresh, 0);
  fresh.name = ownName.field();
  fresh.slots = nullptr;
  fresh.argumentCount = argumentCount;
  fresh.blocked = 0;
  auto *signal = static_cast<ztSignal *>(insertByName(signals, name, &fresh));
  if (signal == nullptr) return nullptr;

  signal->slots = newObject<ztSlotMap>(ztSlotMap_ctor);
  if (signal->slots == nullptr) {
    BorrowedText key(name);
    ztSignalMap_of(signals)->pop(signals, key.get());
    return nullptr;
  }
  ztSlotMap_of(signal->slots)->setAllowDuplicate(signal->slots, 1);
  return signal;
}

static ztSignal *objectAddSignal(ztClass *, void *object, const char *name, uint32_t argumentCount) {
  if (object == nullptr || name == nullptr) return nullptr;
  ztSignalMap *signals = static_cast<ztObject *>(object)->signals;
  if (signals == nullptr) return nullptr;
  ztSignal *known = findSignal(object, name);
  return known != nullptr ? known : insertSignal(signals, name, argumentCount);
}

static int32_t objectAddSlot(ztClass *, void *signal, void *receiver, const char *slotName,
                             ztSlotFunction function) {
  if (signal == nullptr || receiver == nullptr || function.call0 == nullptr) return 0;
  ztSlotMap *slots = static_cast<ztSignal *>(signal)->slots;
  if (slots == nullptr || isBeingDestroyed(receiver) || findSlot(slots, receiver, function) != nullptr)
    return 0;
  if (addsSlotsPlainly(slots)) {
    return addSlotPlainly(slots, slotName == nullptr ? "" : slotName, receiver, function);
  }
  // Not created, because it is only a source to copy from.
  CopyableText name(slotName);
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

// Makes `watcher` drop its slots for `watched` when `watched` is destroyed. False on failure.
static bool watchDestruction(ztClass *klass, void *watched, void *watcher) {
  const ztObjectMethods *methods = objectTableOf(klass);
  ztSignal *destroyed = methods->addSignal(klass, watched, "destroyed", 1);
  if (destroyed == nullptr) return false;
  const ztSlotFunction forget = destroyedSlotOf(watcher);
  return methods->addSlot(klass, destroyed, watcher, "destroyed", forget) ||
         findSlot(destroyed->slots, watcher, forget) != nullptr;
}

static bool linkEnds(ztClass *klass, void *sender, void *receiver) {
  if (!watchDestruction(klass, receiver, sender)) return false;
  if (watchDestruction(klass, sender, receiver)) return true;
  // Without this, the receiver would keep a slot for the sender after the sender is destroyed.
  ztObject_disconnect(receiver, "destroyed", sender, destroyedSlotOf(sender));
  return false;
}

static int32_t objectConnect(ztClass *klass, void *sender, const char *signalName, void *receiver,
                             const char *slotName, ztSlotFunction function, uint32_t argumentCount) {
  if (klass == nullptr || sender == nullptr || signalName == nullptr || receiver == nullptr) return 0;
  if (function.call0 == nullptr) return 0;
  if (checksThreads) checkThread(sender, "a connection");
  if (isBeingDestroyed(sender) || isBeingDestroyed(receiver)) return 0;
  if (__atomic_load_n(&hostsDeclareSignals, __ATOMIC_RELAXED)) [[unlikely]]
    checkDeclared(sender, signalName);
  if (sender != receiver && !linkEnds(klass, sender, receiver)) return 0;
  const ztObjectMethods *methods = objectTableOf(klass);
  ztSignal *signal = methods->addSignal(klass, sender, signalName, argumentCount);
  return signal == nullptr ? 0 : methods->addSlot(klass, signal, receiver, slotName, function);
}

static int32_t objectConnectionExist(ztClass *, const void *object, const char *signalName,
                                     const void *receiver, ztSlotFunction function) {
  const ztSignal *signal = findSignal(object, signalName);
  return signal != nullptr && findSlot(signal->slots, receiver, function) != nullptr;
}

// Runs drop(signal) for the signals of an object. The release of a slot may call a function of a host, which may
// change the map or release the object. After a change it begins again.
template <typename Drop>
static void dropFromSignals(const ztSignalMap *signals, Drop drop) {
  if (signals == nullptr || isEmptyMap(signals)) return;
  ContainerUse use(signals->tree);
  do {
    use.startAfresh();
    for (const ztMapItem *item : itemsOf(signals)) {
      drop(static_cast<const ztSignal *>(item->value));
      if (use.ended()) return;
      if (use.changed()) break;
    }
  } while (use.changed());
}

// Whether all slots for a peer were dropped and no function of a host ran.
static bool dropPlainly(const ztSignalMap *signals, const void *peer) {
  if (signals == nullptr || isEmptyMap(signals)) return true;
  return walksOwnMaps() && popsSlotsPlainly() && holdsForAll(signals->tree->root, [=](const ztMapItem *item) {
           return removeReceiverPlainly(static_cast<const ztSignal *>(item->value)->slots, peer);
         });
}

// Drops an object's slots for a peer that is being destroyed. With `staysTied` keeps the slot that will tell
// the peer of the object's own destruction.
static void forgetPeer(void *object, void *peer, bool staysTied) {
  const ztSignalMap *signals = static_cast<const ztObject *>(object)->signals;
  if (object == peer || (!staysTied && dropPlainly(signals, peer))) return;
  dropFromSignals(signals, [=](const ztSignal *signal) {
    if (staysTied && signal == findSignal(object, "destroyed")) {
      removeReceiverExcept(signal->slots, peer, destroyedSlotOf(peer));
    } else {
      removeReceiver(signal->slots, peer);
    }
  });
}

// The record of an object that is being destroyed.
static Call *destructionOf(const void *object) {
  return callOn(object, CallKind::destruction);
}

static void objectDestroyed(ztObject &object, void *peer) {
  const Call *destruction = destructionOf(peer);
  forgetPeer(&object, peer, destruction != nullptr && destruction->detail != 0);
}

// Drops the slots for the object in all peers that its signal "destroyed" has.
static void forgetPeers(void *object, const ztSignal *destroyed) {
  for (const ztMapItem *item : itemsOf(destroyed->slots)) {
    void *peer = slotOf(item)->receiver;
    if (isSameSlot(slotOf(item)->function, destroyedSlotOf(peer))) forgetPeer(peer, object, false);
  }
}

// The same for the receivers of a delivery that are still alive.
static void leaveReceivers(void *object, const Delivery &delivery) {
  if (callOf(delivery.mark) == nullptr) return;
  const CallTable *calls = thisThread.calls;
  for (uint32_t at = delivery.first; at < delivery.end; ++at) {
    const PendingSlot &slot = calls->pending[at];
    if (slot.receiver == nullptr || slot.function != destroyedSlotOf(slot.receiver).call0) continue;
    forgetPeer(slot.receiver, object, false);
  }
}

static bool callsHost(const Delivery &delivery) {
  ztSlotFunction own;
  own.object1 = method<objectDestroyed>;
  for (uint32_t at = delivery.first; at < delivery.end; ++at) {
    if (thisThread.calls->pending[at].function != own.call0) return true;
  }
  return false;
}

// Tells every peer that the object is being destroyed. Peers that the signal does not reach (it is blocked, has
// too many arguments, or memory is exhausted) also drop their slots for the object.
//
// A peer that was told drops its slots for the object, but the object still has slots for the peer. A host's
// slot may then release the peer, or leave by an exception. So the peer keeps its connection to the object
// until the delivery is over: if it is destroyed before, it tells the object.
ZT_OWN_FRAME static void announceDestruction(void *object, const ztSignal *destroyed) {
  Delivery delivery;
  if (!beginDelivery(&delivery, destroyed)) {
    forgetPeers(object, destroyed);
    return;
  }
  const bool tied = callsHost(delivery);
  const bool reaches = argumentCountOf(destroyed) <= mostArguments;
  Call *destruction = tied ? destructionOf(object) : nullptr;
  if (destruction != nullptr) destruction->detail = 1;
  const EmittedValue value(reinterpret_cast<intptr_t>(object));
  if (!deliver(delivery, object, destroyed, value) || tied || !reaches) leaveReceivers(object, delivery);
  endDelivery(delivery);
}

void ztcore::leavePeers(ztObject *object, bool again) {
  const ztSignal *destroyed = findSignal(object, "destroyed");
  if (destroyed == nullptr) return;
  if (again) {
    forgetPeers(object, destroyed);
  } else {
    announceDestruction(object, destroyed);
  }
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
  for (const ztMapItem *item : itemsOf(slots)) {
    const ztSlot *slot = slotOf(item);
    const auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(slot->receiver));
    ztTextFile_of(file)->writeString(
        file, ztCu_fmtMsg("\tSlot '%s' - Receiver: 0x%x (Class: %s)\n", textOf(slot->name), address,
                          ztOOP_classNameOf(slot->receiver)));
  }
}

static void printSignals(void *file, const ztSignalMap *signals) {
  for (const ztMapItem *item : itemsOf(signals)) {
    const auto *signal = static_cast<const ztSignal *>(item->value);
    ztTextFile_of(file)->writeString(file, ztCu_fmtMsg("- Slots for signal '%s'\n", textOf(signal->name)));
    printSlots(file, signal->slots);
  }
}

static void objectPrintConnections(ztClass *klass, void *object, const char *fileName) {
  if (klass == nullptr || object == nullptr) return;
  void *file = ztTextFile_ctor(nullptr, 1);
  if (file == nullptr) return;
  const ztTextFileMethods *methods = ztTextFile_of(file);
  if (methods->open(file, fileName, "w")) {
    methods->writeString(file, ztCu_fmtMsg("# Connections for class '%s'\n", klass->name));
    printSignals(file, static_cast<const ztObject *>(object)->signals);
  }
  methods->unRef(file);
}

void ztcore::overrideConnections(ztObjectMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, printConnections, objectPrintConnections);
  ZT_OVERRIDE_METHOD(methods, addSignal, objectAddSignal);
  ZT_OVERRIDE_METHOD(methods, addSlot, objectAddSlot);
  ZT_OVERRIDE_METHOD(methods, connect, objectConnect);
  ZT_OVERRIDE_METHOD(methods, connectionExist, objectConnectionExist);
  ZT_OVERRIDE_METHOD(methods, destroyed, method<objectDestroyed>);
}
