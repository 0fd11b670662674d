// The private interface of the registry.
#ifndef ZT_CORE_ZTOOP_HH
#define ZT_CORE_ZTOOP_HH

#include "core/ztoop.h"

namespace ztcore {

constexpr int32_t libraryClassCount = 62;

// Tells whether ztAddNewClass would refuse a name. A name that is too long is cut first.
bool isNameTaken(const char *name);

// Registers a class unless its name is registered.
void ensureRegistered(const char *name, ztCtor ctor);

// Whether a class is filled and its code loaded. With engineLock held. An address of no such class is not followed.
bool isInUse(const ztClass *klass);

// Whether a class is the other one or its descendant. False for NULL.
bool isWithin(const ztClass *klass, const ztClass *ancestor);

// Releases what was registered or opened after the engine stopped; ztOOP_CleanUp does nothing then.
void releaseAfterStop();

}  // namespace ztcore

#endif
