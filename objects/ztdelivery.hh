// Deliveries of signals to the slots that were connected when they began.
#ifndef ZT_OBJECTS_ZTDELIVERY_HH
#define ZT_OBJECTS_ZTDELIVERY_HH

#include "core/ztcalls.hh"
#include "objects/ztobject.h"

// The first argument of an emission: a word, or a double, which is passed in another register.
struct EmittedValue {
  explicit EmittedValue(intptr_t value) : word(value), number(0), isNumber(false) {}
  explicit EmittedValue(double value) : word(0), number(value), isNumber(true) {}
  intptr_t word;
  double number;
  bool isNumber;
};

// One delivery under way. It has copies of the slots, since the map changes under the hands of its slots.
struct ztDelivery {
  ztCallMark mark;
  uint32_t first;  // among the pending slots
  uint32_t end;
};

// A slot takes no more arguments. A signal that was made with more calls nothing.
constexpr uint32_t ztMostArguments = 4;

inline uint32_t ztArgumentCountOf(const ztSignal *signal) {
  return signal->argumentCount & 0xff;
}

// An object's signal of that name. NULL when there is none, or no object.
ztSignal *ztFindSignal(const void *object, const char *name);

// Emits a signal of a ztObject; the result is that of ztObject_emit.
int32_t ztEmit(void *emitter, const char *signalName, EmittedValue value);

// Announces a property change to the slots of the ztObject's signal "prop->signalname".
void ztNotifyPropertyChange(void *object, EmittedValue value);

// The parts of an emission, for one that has to know whom it reaches. To be begun in a frame of its own; false
// when there is nothing to deliver, and without memory.
bool ztBeginDelivery(ztDelivery *delivery, const ztSignal *signal);
// False when it ended before its last slot.
bool ztDeliver(const ztDelivery &delivery, void *emitter, const ztSignal *signal, const EmittedValue &value);
void ztEndDelivery(const ztDelivery &delivery);

// Has no delivery call a receiver any more: it is being destroyed.
void ztForgetReceiver(const void *dying);

#endif
