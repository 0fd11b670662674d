// The basis of an object's modules: its flags, its class's table, the thread that made it.
#ifndef ZT_OBJECTS_ZTOBJBASE_HH
#define ZT_OBJECTS_ZTOBJBASE_HH

#include "objects/ztobject.h"

namespace ztcore {

// The field `flags` of a ztObject. Its upper half is the number of the thread that made the object, or 0.
// ztnode.hh has the flags of nodes.
enum : uint32_t {
  objectBeingDestroyed = 1,      // set when the destruction begins
  firstNodeFlag = 2,             // the first flag of nodes, in the lower half
  objectTellsChanges = 1 << 14,  // somebody asked for the changes of one property
  objectWatched = 1 << 15,       // pointers of a host watched it
};

// Nothing connects to an object that is being destroyed, because nobody would remove the connection.
inline bool isBeingDestroyed(const void *object) {
  return (static_cast<const ztObject *>(object)->flags & objectBeingDestroyed) != 0;
}

inline ztObjectMethods *objectTableOf(const ztClass *klass) {
  return static_cast<ztObjectMethods *>(klass->methodTable);
}

// The field `flags` of a new object.
uint32_t firstFlags();

// Logs, once, that a thread uses a ztObject that another thread made. Ignores NULL.
void checkThread(const void *object, const char *use);

// The object itself if it is a ztObject, which has signals; else NULL. Properties may belong to any object.
void *emitterOf(void *object);

}  // namespace ztcore

#endif
