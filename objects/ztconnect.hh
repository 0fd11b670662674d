// Connections: the slots of an object's signals, and their removal when either end is destroyed.
#ifndef ZT_OBJECTS_ZTCONNECT_HH
#define ZT_OBJECTS_ZTCONNECT_HH

#include "objects/ztobject.h"

namespace ztcore {

// Fills the slots of signals and connections in the method table of ztObject.
void overrideConnections(ztObjectMethods *methods);

// Removes an object that is being destroyed from all objects connected with it. `again`: an earlier destruction
// was interrupted; peers that it did not tell are not told.
void leavePeers(ztObject *object, bool again);

}  // namespace ztcore

#endif
