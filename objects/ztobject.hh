// Emission of signals and the survival of what slots do, for the modules that raise signals.
#ifndef ZT_OBJECTS_ZTOBJECT_HH
#define ZT_OBJECTS_ZTOBJECT_HH

#include "core/ztcalls.hh"
#include "objects/ztobject.h"

// What the field `marks` of a ztObject holds; in its upper half the number of the thread that made the object,
// or 0.
enum : uint32_t {
  ztObjectDying = 1,      // set from the beginning of the object's destruction on
  ztNodeEnding = 2,       // a node that releases its children and takes no new ones
  ztNodeListed = 4,       // a node that is listed by one that is not its parent
  ztNodeLeaving = 8,      // such a node while its deletion is being announced
  ztNodeOnPath = 16,      // a node below which another releases its children
  ztNodeAssignable = 32,  // a node below which an assignment is known to have the stack that it needs
  ztNodeSurveyed = 64,    // a node below which what lies too deep for the stack was released
};

// The first argument of an emission: a word, or a double, which is passed in another register.
struct EmittedValue {
  explicit EmittedValue(intptr_t value) : word(value), number(0), isNumber(false) {}
  explicit EmittedValue(double value) : word(0), number(value), isNumber(true) {}
  intptr_t word;
  double number;
  bool isNumber;
};

// Tells whether an object was destroyed meanwhile; a local variable. An object's reference count would not
// do, since a count that comes back down to 1 destroys.
class ObjectWatch {
 public:
  // Inlined always, since it is the frame of its caller that the watch lasts as long as.
  __attribute__((always_inline)) explicit ObjectWatch(const void *watched) {
    const auto frame = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    const auto place = static_cast<uint32_t>(frame - reinterpret_cast<uintptr_t>(this));
    ztBeginCall(&mark, ztCallKind::watch, watched, frame, place);
  }
  ~ObjectWatch() {
    ztEndCall(mark);
  }
  ObjectWatch(const ObjectWatch &) = delete;
  ObjectWatch &operator=(const ObjectWatch &) = delete;

  // False also when that cannot be told: memory was exhausted.
  bool isAlive() const {
    const ztCall *call = ztCallOf(mark);
    return call != nullptr && call->subject != nullptr;
  }
  static void objectDestroyed(const void *dying) {
    ztForEachCall([=](ztCall &call) {
      if (call.subject == dying && ztKindOf(call) == ztCallKind::watch) call.subject = nullptr;
    });
  }

 private:
  ztCallMark mark;
};

// Told by slot maps and signals, so that the deliveries under way know what became of theirs.
void ztSlotRemoved();
void ztSignalDestroyed(const void *signal);

// Emits a signal of a ztObject; the result is that of ztObject_emit.
int32_t ztEmit(void *emitter, const char *signalName, EmittedValue value);

// The object itself when it is a ztObject, and so has signals; else NULL. A property can be set on
// behalf of anything.
void *ztEmitterOf(void *object);

// Logs, once, that a ztObject is used in another thread than the one that made it. NULL is no such object.
void ztCheckThread(const void *object, const char *use);

// Announces a property change to the slots of the ztObject's signal "prop->signalname".
void ztNotifyPropertyChange(void *object, EmittedValue value);

// Declares a static property of a type of the library's, which becomes known to declarations by this.
int32_t ztDeclareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                          ztSetter setter, const char *typeClassName, ztCtor typeCtor);

// Has the static properties that are being declared be declared anew later: one was lost for want of
// memory.
void ztDeclarationLost();

// Releases the static properties of every class; each class's are made again when they are needed.
void ztReleaseStaticProperties();

// Releases those of a class whose code is about to be unloaded, of the classes that descend from it, and
// those that have a property of such a class's type.
void ztForgetStaticProperties(const ztClass *klass);

#endif
