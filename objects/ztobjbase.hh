// What all modules of an object rest on: its flags, its class's table, the thread that made it.
#ifndef ZT_OBJECTS_ZTOBJBASE_HH
#define ZT_OBJECTS_ZTOBJBASE_HH

#include "objects/ztobject.h"

namespace ztcore {

// What the field `flags` of a ztObject holds; in its upper half the number of the thread that made the object,
// or 0. The flags of nodes are in ztnode.hh.
enum : uint32_t {
  objectBeingDestroyed = 1,  // set from the beginning of the object's destruction on
  firstNodeFlag = 2,         // of those in the rest of the lower half
};

// Nothing connects to an object that is being destroyed, since nobody would take the connection away.
inline bool isBeingDestroyed(const void *object) {
  return (static_cast<const ztObject *>(object)->flags & objectBeingDestroyed) != 0;
}

inline ztObjectMethods *objectTableOf(const ztClass *klass) {
  return static_cast<ztObjectMethods *>(klass->methodTable);
}

// The field `flags` of a new object.
uint32_t firstFlags();

// Logs, once, that a ztObject is used in another thread than the one that made it. NULL is no such object.
void checkThread(const void *object, const char *use);

// The object itself when it is a ztObject, and so has signals; else NULL. A property can be set on
// behalf of anything.
void *emitterOf(void *object);

}  // namespace ztcore

#endif
