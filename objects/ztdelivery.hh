// Deliveries of signals to the slots that were connected when they began.
#ifndef ZT_OBJECTS_ZTDELIVERY_HH
#define ZT_OBJECTS_ZTDELIVERY_HH

#include "core/ztcalls.hh"
#include "objects/ztobject.h"

namespace ztcore {

// The first argument of an emission: a word, or a double, which is passed in another register.
struct EmittedValue {
  explicit EmittedValue(intptr_t value) : word(value), number(0), isNumber(false) {}
  explicit EmittedValue(double value) : word(0), number(value), isNumber(true) {}
  intptr_t word;
  double number;
  bool isNumber;
};

// One delivery under way. It has copies of the slots, since the map changes under the hands of its slots.
struct Delivery {
  CallMark mark;
  uint32_t first;  // among the pending slots
  uint32_t end;
};

// A slot takes no more arguments. A signal that was made with more calls nothing.
constexpr uint32_t mostArguments = 4;

inline uint32_t argumentCountOf(const ztSignal *signal) {
  return signal->argumentCount & 0xff;
}

// An object's signal of that name. NULL when there is none, or no object.
ztSignal *findSignal(const void *object, const char *name);

// Emits a signal of a ztObject; the result is that of ztObject_emit.
int32_t emit(void *emitter, const char *signalName, EmittedValue value);

// Announces a property change to the slots of the ztObject's signal "prop->signalname".
void notifyPropertyChange(void *object, EmittedValue value);

// The parts of an emission, for one that has to know whom it reaches. To be begun in a frame of its own; false
// when there is nothing to deliver, and without memory.
bool beginDelivery(Delivery *delivery, const ztSignal *signal);
// False when it ended before its last slot.
bool deliver(const Delivery &delivery, void *emitter, const ztSignal *signal, const EmittedValue &value);
void endDelivery(const Delivery &delivery);

// Has no delivery call a receiver any more: it is being destroyed.
void forgetReceiver(const void *object);

}  // namespace ztcore

#endif
