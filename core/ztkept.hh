// The data that later rooms keep for the whole process, and its release. Core does not include later rooms: a
// module registers its functions when the first object of its class is made, with engineLock held.
#ifndef ZT_CORE_ZTKEPT_HH
#define ZT_CORE_ZTKEPT_HH

#include "core/ztoop.h"

namespace ztcore {

// In the order of release: the declarations of classes refer to types.
enum class Kept { declarations, signals, types, readers };

// `release` releases what a module keeps. `forget` drops a class that will be unloaded, and its descendants.
void keepRegistered(Kept kept, void (*release)(), void (*forget)(const ztClass *klass));

// Releases what the hooks of freed classes left, or what was made after they ran.
void releaseKept();

// Drops what is kept of a class whose code is about to be unloaded, and of its descendants.
void forgetClass(const ztClass *klass);

}  // namespace ztcore

#endif
