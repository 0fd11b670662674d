// The end of a tree: the release of all that is below a node.
#ifndef ZT_OBJECTS_ZTTREEEND_HH
#define ZT_OBJECTS_ZTTREEEND_HH

#include "objects/ztroot.h"

namespace ztcore {

// Releases the children of a node, each behind those below it.
void releaseChildren(ztRoot *node);

}  // namespace ztcore

#endif
