// What the library keeps for the whole process beside its classes, and how it is released.
//
// This room includes no later one. A module says what is to be called when the first object of its class is
// made, with engineLock held.
#ifndef ZT_CORE_ZTKEPT_HH
#define ZT_CORE_ZTKEPT_HH

#include "core/ztoop.h"

namespace ztcore {

// In the order of release: what classes declare names types.
enum class Kept { declarations, types };

// `release` releases what a module keeps. `forget` has it forget a class whose code is about to be unloaded,
// and the classes that descend from it.
void keepRegistered(Kept kept, void (*release)(), void (*forget)(const ztClass *klass));

// Releases what the hooks of freed classes left or what was made after they ran.
void releaseKept();

// Forgets what is kept of a class whose code is about to be unloaded, and of those that descend from it.
void forgetClass(const ztClass *klass);

}  // namespace ztcore

#endif
