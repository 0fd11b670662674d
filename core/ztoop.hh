// What the library itself needs of the registry beyond its public interface.
#ifndef ZT_CORE_ZTOOP_HH
#define ZT_CORE_ZTOOP_HH

#include "core/ztoop.h"

namespace ztcore {

// Tells whether ztAddNewClass would refuse a name: one that is too long counts as what would be kept of it.
bool isNameTaken(const char *name);

// Registers a class where its name is not.
void ensureRegistered(const char *name, ztCtor ctor);

// Whether a class is the other one or descends from it; a NULL class is not.
bool isWithin(const ztClass *klass, const ztClass *ancestor);

// Releases what was registered or opened after the engine stopped: ztOOP_CleanUp does nothing then.
void releaseAfterStop();

}  // namespace ztcore

#endif
