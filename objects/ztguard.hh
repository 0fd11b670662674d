// The checks that functions for hosts have in common. Each logs one line, which names the function, and returns
// false when it fails.
#ifndef ZT_OBJECTS_ZTGUARD_HH
#define ZT_OBJECTS_ZTGUARD_HH

#include "objects/ztobject.h"

namespace ztcore {

// Names of hosts are cut in log lines: a line has 511 bytes.
#define ZT_CUT_NAME "'%.120s'"

// Whether an argument is not NULL. `what` names it.
bool isGiven(const char *function, const void *argument, const char *what);

// Whether an object is of a class or a descendant.
bool isOf(const char *function, const void *object, const ztClass *klass, const char *what);

// Whether an argument is a ztObject.
bool isObject(const char *function, const void *argument, const char *what);

// Whether such an object is not being destroyed.
bool isLasting(const char *function, const void *object, const char *what);

}  // namespace ztcore

#endif
