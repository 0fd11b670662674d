// Emission of signals and the survival of what slots do, for the modules that raise signals.
#ifndef ZT_OBJECTS_ZTOBJECT_HH
#define ZT_OBJECTS_ZTOBJECT_HH

#include "objects/ztobject.h"

// What the field `marks` of a ztObject holds.
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

// Tells whether an object was destroyed meanwhile. Watches form a stack: they are local variables, and
// the destruction of a ztObject looks through all of them. An object's reference count would not do,
// since a count that comes back down to 1 destroys.
class ObjectWatch {
 public:
  explicit ObjectWatch(const void *watched) : object(watched), outer(top) {
    top = this;
  }
  ~ObjectWatch() {
    top = outer;
  }
  ObjectWatch(const ObjectWatch &) = delete;
  ObjectWatch &operator=(const ObjectWatch &) = delete;

  bool isAlive() const {
    return object != nullptr;
  }
  static void objectDestroyed(const void *dying) {
    for (ObjectWatch *watch = top; watch != nullptr; watch = watch->outer) {
      if (watch->object == dying) watch->object = nullptr;
    }
  }

 private:
  const void *object;  // NULL once it is destroyed
  ObjectWatch *outer;
  static ObjectWatch *top;
};

// Told by slot maps and signals, so that the deliveries under way know what became of theirs.
void ztSlotRemoved();
void ztSignalDestroyed(const void *signal);

// Emits a signal of a ztObject; the result is that of ztObject_emit.
int32_t ztEmit(void *emitter, const char *signalName, EmittedValue value);

// The object itself when it is a ztObject, and so has signals; else NULL. A property can be set on
// behalf of anything.
void *ztEmitterOf(void *object);

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

#endif
