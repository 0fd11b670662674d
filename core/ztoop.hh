// What the library itself needs of the registry beyond its public interface.
#ifndef ZT_CORE_ZTOOP_HH
#define ZT_CORE_ZTOOP_HH

#include "core/ztoop.h"

// Registers a class where its name is not.
void ztOOP_ensureRegistered(const char *name, ztCtor ctor);

// Releases what was registered or opened while the engine was stopped, since ztOOP_CleanUp will not.
void ztOOP_releaseAfterStop();

#endif
