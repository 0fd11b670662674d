// Deliveries of signals to the slots that were connected when they began.
#ifndef ZT_OBJECTS_ZTDELIVERY_HH
#define ZT_OBJECTS_ZTDELIVERY_HH

#include "core/ztcalls.hh"
#include "objects/ztobject.h"

namespace ztcore {

// The first argument of an emission: a word, or a double, which uses another register.
struct EmittedValue {
  explicit EmittedValue(intptr_t value) : word(value), number(0), isNumber(false) {}
  explicit EmittedValue(double value) : word(0), number(value), isNumber(true) {}
  intptr_t word;
  double number;
  bool isNumber;
};

// A delivery under way. It copies the slots, because a slot that is called may change the map.
struct Delivery {
  CallMark mark;
  uint32_t first;  // its first pending slot
  uint32_t end;
};

// The largest number of arguments of a slot. A signal with more calls nothing.
constexpr uint32_t mostArguments = 4;

inline uint32_t argumentCountOf(const ztSignal *signal) {
  return signal->argumentCount & 0xff;
}

// An object's signal of that name. NULL when there is none, or for a NULL object.
ztSignal *findSignal(const void *object, const char *name);

// Checks and traces, as the environment asks, an emission that is about to begin. Called where `watchesEmissions` is
// set. Ignores NULL.
void watchEmission(const void *emitter, const char *signalName);

// Emits a signal of a ztObject; returns what ztObject_emit returns.
int32_t emit(void *emitter, const char *signalName, EmittedValue value);
int32_t emitFound(void *emitter, const ztSignal *signal, const EmittedValue &value);

// Several arguments of an emission: the words in their order, and the doubles in theirs.
struct EmittedArguments {
  intptr_t words[mostArguments];
  double numbers[mostArguments];
};

// Emits a signal of a ztObject with these arguments; returns what ztObject_emit returns.
int32_t emitArguments(void *emitter, const ztSignal *signal, const EmittedArguments &arguments);

// The steps of an emission, for a caller that needs to know the receivers. `beginDelivery` must be called in a
// frame of its own. False when there is nothing to deliver or memory is exhausted.
bool beginDelivery(Delivery *delivery, const ztSignal *signal);
// False when it stopped before its last slot.
bool deliver(const Delivery &delivery, void *emitter, const ztSignal *signal, const EmittedValue &value);
void endDelivery(const Delivery &delivery);

// Removes a receiver that is being destroyed from all deliveries.
void forgetReceiver(const void *object);

}  // namespace ztcore

#endif
