// Connections: the slots of an object's signals, and the ties by which each end forgets the other.
#ifndef ZT_OBJECTS_ZTCONNECT_HH
#define ZT_OBJECTS_ZTCONNECT_HH

#include "objects/ztobject.h"

namespace ztcore {

// Puts the methods of signals and connections into the table of ztObject.
void overrideConnections(ztObjectMethods *methods);

// Has every object that is connected with one that is being destroyed forget it. What was not told when an
// end was interrupted is not told any more: `again` is true then.
void leavePeers(ztObject *object, bool again);

}  // namespace ztcore

#endif
