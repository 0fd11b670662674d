// What the library keeps for the whole process beside its classes.
#ifndef ZT_CORE_ZTCORE_HH
#define ZT_CORE_ZTCORE_HH

#include "core/ztoop.h"

// Releases what the hooks of freed classes left or what was made after they ran.
void ztcoreReleaseShared();

// Forgets what is kept of a class whose code is about to be unloaded, and of those that descend from it.
void ztcoreForgetClass(const ztClass *klass);

// Whether a class is one of the library's own.
bool ztcoreIsLibraryClass(const ztClass *klass);

#endif
