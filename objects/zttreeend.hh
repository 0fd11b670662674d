#ifndef ZT_OBJECTS_ZTTREEEND_HH
#define ZT_OBJECTS_ZTTREEEND_HH

#include "objects/ztroot.h"

namespace ztcore {

// Releases the children of a node, each after those below it.
void releaseChildren(ztRoot *node);

}  // namespace ztcore

#endif
