#include "objects/ztdelivery.hh"

#include "containers/ztavltree.h"
#include "core/ztcheck.hh"
#include "core/zttrack.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztslots.hh"
#include "objects/ztstrmap.hh"

using namespace ztcore;

ztSignal *ztcore::findSignal(const void *object, const char *name) {
  if (object == nullptr) return nullptr;
  return static_cast<ztSignal *>(
      findByName(static_cast<const ztObject *>(object)->signals, ztSignalMap_compare_func, name));
}

void ztcore::forgetReceiver(const void *object) {
  CallTable *calls = thisThread.calls;
  if (calls != nullptr && calls->pendingCount != 0) forgetPending(calls, object);
}

// Copies the slots of a map in order; returns the position behind the last.
static PendingSlot *collectSlots(const ztAvlTreeItem *item, PendingSlot *pending) {
  for (; item != nullptr; item = item->right) {
    pending = collectSlots(item->left, pending);
    const auto *slot = static_cast<const ztSlot *>(reinterpret_cast<const ztMapItem *>(item)->value);
    *pending++ = {item->data, slot->function.call0};
  }
  return pending;
}

bool ztcore::beginDelivery(Delivery *delivery, const ztSignal *signal) {
  if (signal->blocked != 0 || signal->slots == nullptr) return false;
  const ztAvlTree *tree = signal->slots->tree;
  if (tree == nullptr || tree->root == nullptr) return false;
  Call *call = beginCall(&delivery->mark, CallKind::delivery, signal, frameOf(&delivery->mark));
  if (call == nullptr) return false;
  CallTable *calls = thisThread.calls;
  delivery->first = reservePending(calls, tree->count);
  if (delivery->first == noPlace) {
    endCall(delivery->mark);
    return false;
  }
  delivery->end = delivery->first + tree->count;
  if (calls->pendingCount < delivery->end) calls->pendingCount = delivery->end;
  call->first = delivery->first;
  call->end = delivery->end;
  collectSlots(tree->root, calls->pending + delivery->first);
  return true;
}

void ztcore::endDelivery(const Delivery &delivery) {
  if (!endCall(delivery.mark)) return;
  CallTable *calls = thisThread.calls;
  if (calls->pendingCount == delivery.end) {
    calls->pendingCount = delivery.first;
  } else {
    trimPending(calls);
  }
}

// More than one argument. Calls nothing for a signal with more arguments than any slot takes.
static void callWithWord(void *receiver, ztSlotFunction function, uint32_t argumentCount, intptr_t first) {
  switch (argumentCount) {
    case 2:
      return function.call2(receiver, first, 0);
    case 3:
      return function.call3(receiver, first, 0, 0);
    case mostArguments:
      return function.call4(receiver, first, 0, 0, 0);
  }
}

static void callWithNumber(void *receiver, ztSlotFunction function, uint32_t argumentCount, double first) {
  switch (argumentCount) {
    case 0:
      return function.call0(receiver);
    case 1:
      return function.number1(receiver, first);
    case 2:
      return function.number2(receiver, first, 0);
    case 3:
      return function.number3(receiver, first, 0, 0);
    case mostArguments:
      return function.number4(receiver, first, 0, 0, 0);
  }
}

// A function without arguments ignores the word; the slots of `connect` on "destroyed" need it.
static void callSlot(const PendingSlot &slot, uint32_t argumentCount, const EmittedValue &value) {
  ztSlotFunction function;
  function.call0 = slot.function;
  if (!value.isNumber && argumentCount <= 1) [[likely]] {
    function.call1(slot.receiver, value.word);
  } else if (value.isNumber) {
    callWithNumber(slot.receiver, function, argumentCount, value.number);
  } else {
    callWithWord(slot.receiver, function, argumentCount, value.word);
  }
}

static bool isStillConnected(const ztSignal *signal, const PendingSlot &slot) {
  ztSlotFunction function;
  function.call0 = slot.function;
  return findSlot(signal->slots, slot.receiver, function) != nullptr;
}

// Calls callWith(slot, argumentCount) for each slot.
template <typename CallWith>
[[gnu::always_inline]] static inline bool deliverWith(const Delivery &delivery, void *emitter,
                                                      const ztSignal *signal, CallWith callWith) {
  CallTable *calls = thisThread.calls;
  Call *call = callOf(delivery.mark);
  const uint32_t argumentCount = argumentCountOf(signal);
  const uint32_t removalsBefore = calls->removals;
  for (uint32_t at = delivery.first; at < delivery.end; ++at) {
    const PendingSlot slot = calls->pending[at];
    if (slot.receiver == nullptr) continue;
    if (calls->removals != removalsBefore && !isStillConnected(signal, slot)) continue;
    call->detail = at;
    auto *receiver = static_cast<ztObject *>(slot.receiver);
    receiver->sender = emitter;
    callWith(slot, argumentCount);
    call = callOf(delivery.mark);
    if (call == nullptr) return false;
    if (calls->pending[at].receiver != nullptr) receiver->sender = nullptr;
    if (call->subject == nullptr) return false;
  }
  return true;
}

bool ztcore::deliver(const Delivery &delivery, void *emitter, const ztSignal *signal,
                     const EmittedValue &value) {
  return deliverWith(delivery, emitter, signal, [&](const PendingSlot &slot, uint32_t argumentCount) {
    callSlot(slot, argumentCount, value);
  });
}

// Flat: with one slot, the calls between the steps took a sixth of the instructions.
[[gnu::flatten]] ZT_OWN_FRAME int32_t ztcore::emitFound(void *emitter, const ztSignal *signal,
                                                        const EmittedValue &value) {
  Delivery delivery;
  if (!beginDelivery(&delivery, signal)) return 0;
  deliver(delivery, emitter, signal, value);
  endDelivery(delivery);
  return 1;
}

// The calling convention of x86-64 passes words and doubles in registers of their own, each in their order: so one
// call with four of each gives every mix, and zeroes for what is missing.
static void callWithAll(const PendingSlot &slot, const EmittedArguments &arguments) {
  union {
    void (*function)(void *receiver);
    void (*any)(void *receiver, intptr_t, intptr_t, intptr_t, intptr_t, double, double, double, double);
  } slotFunction;
  slotFunction.function = slot.function;
  const intptr_t *words = arguments.words;
  const double *numbers = arguments.numbers;
  slotFunction.any(slot.receiver, words[0], words[1], words[2], words[3], numbers[0], numbers[1], numbers[2],
                   numbers[3]);
}

ZT_OWN_FRAME int32_t ztcore::emitArguments(void *emitter, const ztSignal *signal,
                                           const EmittedArguments &arguments) {
  Delivery delivery;
  if (!beginDelivery(&delivery, signal)) return 0;
  deliverWith(delivery, emitter, signal, [&](const PendingSlot &slot, uint32_t argumentCount) {
    if (argumentCount <= mostArguments) callWithAll(slot, arguments);
  });
  endDelivery(delivery);
  return 1;
}

void ztcore::watchEmission(const void *emitter, const char *signalName) {
  if (checksThreads) checkThread(emitter, "an emission");
  const ztSignal *signal = tracesEmissions ? findSignal(emitter, signalName) : nullptr;
  if (signal == nullptr) return;
  const ztAvlTree *slots = signal->slots == nullptr ? nullptr : signal->slots->tree;
  traceEmission(emitter, signalName, slots == nullptr || signal->blocked != 0 ? 0 : slots->count);
}

int32_t ztcore::emit(void *emitter, const char *signalName, EmittedValue value) {
  if (watchesEmissions) watchEmission(emitter, signalName);
  const ztSignal *signal = findSignal(emitter, signalName);
  return signal == nullptr ? 0 : emitFound(emitter, signal, value);
}

int32_t ztObject_emit(void *object, const char *signalName, intptr_t first) {
  return emit(object, signalName, EmittedValue(first));
}

int32_t ztObject_emitDouble(void *object, const char *signalName, double first) {
  return emit(object, signalName, EmittedValue(first));
}
